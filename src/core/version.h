// What the programs of the product call themselves, in a title and for --version.
#pragma once

constexpr const char* TINCT_VERSION = "Korvane Tinct V3.4.0";
