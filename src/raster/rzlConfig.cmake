# Targets: rzl::rzl (shared) and rzl::rzl_static.
include(CMakeFindDependencyMacro)
@rzl_finds@include(${CMAKE_CURRENT_LIST_DIR}/rzlTargets.cmake)
