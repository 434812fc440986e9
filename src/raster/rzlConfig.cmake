# Targets: rzl::rzl (shared) and rzl::rzl_static.
include(${CMAKE_CURRENT_LIST_DIR}/rzlTargets.cmake)
