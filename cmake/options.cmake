# What every target is compiled with. Floating-point contraction is off everywhere: a surface's contribution to a
# pixel must come out the same on every machine.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

option(TINCT_JPEG "Read and write JFIF files, through libjpeg" ON)
option(TINCT_PNG "Read and write PNG files, through libpng" ON)
option(TINCT_BENCH "Build the benchmarks" OFF)
option(TINCT_FUZZ "Build the fuzz targets with libFuzzer (clang)" OFF)
set(TINCT_SANITIZE "" CACHE STRING "Sanitizers, as given to -fsanitize=")

add_library(tinct_options INTERFACE)
target_include_directories(tinct_options INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>)
target_compile_options(tinct_options INTERFACE
    -Wall -Wextra -Wconversion -Wshadow -Werror -ffp-contract=off
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
if(TINCT_SANITIZE)
    add_compile_options(-fsanitize=${TINCT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${TINCT_SANITIZE} -fno-sanitize-recover=all)
endif()
if(TINCT_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
    add_link_options(-fsanitize=fuzzer-no-link)
endif()
