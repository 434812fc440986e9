// Where the tests find the sources and the programs that were built. Only places.cpp is compiled with these names, so
// that every other object is the same wherever the tree stands, and a compiler cache serves all copies of it.
#pragma once

#include <string>

// The root of the sources, without a slash at its end.
std::string source_dir();

// The directory of the built programs, without a slash at its end.
std::string bin_dir();
