// make-symbols TEXT FILE: makes a symbol file from symbols that are drawn as text.
// make-symbols --list FILE: writes a font or symbol file as such a text.
//
// A symbol is a line "symbol NUMBER", with a colon and its name behind it or nothing, and then its rows from the top,
// '#' for a set pixel and '.' for another. An empty line ends it. A line that begins with ';' says something.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "fontfile.h"
#include "support/memory.h"
#include "tools/font.h"

namespace {

bool complain(const std::string& path, int line, const char* what) {
    std::fprintf(stderr, "%s:%d: %s\n", path.c_str(), line, what);
    return false;
}

bool is_row(const std::string& line) {
    return line.find_first_not_of("#.") == std::string::npos;
}

// Reads the number of a line "symbol NUMBER...", -1 when it is no such line.
int number_of(const std::string& line) {
    const char* digits = line.c_str() + 7;
    char* end = nullptr;
    if (line.compare(0, 7, "symbol ") != 0) return -1;
    long number = std::strtol(digits, &end, 10);
    return end != digits && (*end == '\0' || *end == ':') && number >= 0 && number <= 255 ? static_cast<int>(number)
                                                                                          : -1;
}

bool read_symbols(const std::string& path, std::vector<drawn_glyph>* symbols) {
    std::ifstream file(path);
    std::string line;
    drawn_glyph* open = nullptr; // the symbol whose rows are being read
    int at = 0;
    while (std::getline(file, line)) {
        ++at;
        if (line.empty()) open = nullptr;
        if (line.empty() || line[0] == ';') continue;
        if (open == nullptr) {
            int number = number_of(line);
            if (number < 0) return complain(path, at, "\"symbol\" and a number up to 255 expected");
            open = &symbols->emplace_back();
            open->code = number;
        } else {
            bool fits = open->rows.empty() || open->rows.front().size() == line.size();
            if (!is_row(line) || !fits)
                return complain(path, at, "a row of '#' and '.', as long as the others, expected");
            open->rows.push_back(line);
        }
    }
    return !symbols->empty() || complain(path, at, "no symbols");
}

int make(const std::string& source, const std::string& target) {
    std::vector<drawn_glyph> symbols;
    if (!read_symbols(source, &symbols)) return 1;
    for (drawn_glyph& symbol : symbols) {
        symbol.advance = glyph_width(symbol);
        symbol.depth = glyph_height(symbol);
    }
    std::vector<uint8_t> bytes = font_bytes(symbols);
    return !bytes.empty() && write_bytes(target, bytes) ? 0 : 1;
}

// Rows and columns of the offsets are written as empty ones.
void list_symbol(int number, const symbol_bitmap& symbol) {
    std::printf("; advance %d, depth %d\nsymbol %d\n", symbol.advance, symbol.depth, number);
    std::string margin(symbol.x_offset < 128 ? symbol.x_offset : 0, '.'); // from 128 on it is negative
    for (int y = -int{symbol.y_offset}; y < symbol.height; ++y) {
        std::string row(symbol.width, '.');
        size_t row_at = (row.size() + 7) / 8 * static_cast<size_t>(y < 0 ? 0 : y);
        for (size_t x = 0; y >= 0 && x < row.size(); ++x)
            if ((symbol.bits[row_at + x / 8] >> x % 8 & 1) != 0) row[x] = '#';
        std::printf("%s%s\n", margin.c_str(), row.c_str());
    }
    std::printf("\n");
}

int list(const std::string& path) {
    int found = 0;
    for (int number = 0; number <= 255; ++number) {
        symbol_bitmap symbol;
        if (symbol_read(path.c_str(), static_cast<uint8_t>(number), &symbol) != 0) continue;
        list_symbol(number, symbol);
        mem_free(symbol.bits);
        ++found;
    }
    if (found == 0) std::fprintf(stderr, "%s: no symbols\n", path.c_str());
    return found > 0 ? 0 : 1;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        std::fprintf(stderr, "usage: make-symbols TEXT FILE\n       make-symbols --list FILE\n");
        return 2;
    }
    if (std::string(arguments[1]) == "--list") return list(arguments[2]);
    return make(arguments[1], arguments[2]);
}
