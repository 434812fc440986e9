// The only file of the tests that is compiled with the places of the sources and of the programs.
#include "places.h"

std::string source_dir() {
    return TINCT_SOURCE_DIR;
}

std::string bin_dir() {
    return TINCT_BIN_DIR;
}
