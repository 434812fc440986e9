// SUT catalogs: reading the text.
#include <algorithm>
#include <cstring>

#include "raster/SUT/sut.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "SUT/scancat";
constexpr int64_t LEAST_MEMBER = 4; // characters: a name, a number, and blanks between

// The text as it is taken apart.
struct scanner {
    CFILE* c;
    char line[SUT_LINE];
    const char* next; // in the line; null: none has been read
    char token[SUT_LINE];
    bool pushed;  // the token comes once more
    int64_t size; // of the file
};

// The next token. False at the end of the file.
bool next_token(scanner* s) {
    if (s->pushed) {
        s->pushed = false;
        return true;
    }
    size_t length = s->next != nullptr ? text_word(&s->next) : 0;
    while (length == 0) {
        constexpr size_t MOST_CHARACTERS = 512;
        if (!io_get_text_line(s->c, s->line, MOST_CHARACTERS + 1)) return false;
        if (char* comment = std::strchr(s->line, '#')) *comment = '\0';
        s->next = s->line;
        length = text_word(&s->next);
    }
    std::memcpy(s->token, s->next, length);
    s->token[length] = '\0';
    s->next += length;
    return true;
}

int not_standard(CFILE* c, const char* detail, int line = __builtin_LINE()) {
    return refuse(c, RZL_NOT_STANDARD, SOURCE, detail, line);
}

// A number from 0 up.
bool next_number(scanner* s, int32_t* value) {
    int64_t number = 0;
    bool good =
        next_token(s) && text_integer(s->token, std::strlen(s->token), &number) && number >= 0 && number <= INT32_MAX;
    *value = static_cast<int32_t>(number);
    return good || fails(s->c, RZL_NOT_STANDARD, SOURCE, "number");
}

int32_t parts_of(int32_t whole, int32_t part) {
    return static_cast<int32_t>((int64_t{whole} + part - 1) / part);
}

// ---- keywords ------------------------------------------------------------------------------------------------------

enum class keyword : uint8_t {
    mark,
    version,
    image_x,
    image_y,
    tiles_x,
    tiles_y,
    tile_size,
    format,
    files,
    overview,
    none
};

keyword keyword_of(const char* token) {
    constexpr const char* WORDS[] = {"SUPERT!", "VERSION",  "IMAGEX", "IMAGEY", "TILESX",
                                     "TILESY",  "TILESIZE", "FORMAT", "FILES",  "OVERVIEW"};
    uint8_t at = 0;
    for (const char* word : WORDS) {
        if (std::strcmp(word, token) == 0) return static_cast<keyword>(at);
        ++at;
    }
    return keyword::none;
}

// The record of an overview, put in its place by its number.
sut_level* add_overview(CFILE* c, int32_t id) {
    auto* level = mem_new<sut_level>();
    if (level == nullptr) {
        fail(c, RZL_NO_MEMORY, SOURCE, nullptr);
        return nullptr;
    }
    level->level_id = id;
    level->format = sut_spec_of(c)->base.format;
    sut_level** place = &sut_spec_of(c)->base.next;
    while (*place != nullptr && (*place)->level_id < id)
        place = &(*place)->next;
    level->next = *place;
    *place = level;
    return level;
}

// ---- members -------------------------------------------------------------------------------------------------------

// The grid. Its members must be fewer than the text has room for.
bool make_grid(scanner* s, sut_level* level) {
    bool tiled = level->tile_size != 0;
    int64_t width = tiled ? int64_t{level->tiles_x} * level->tile_size : level->tiles_x;
    int64_t height = tiled ? int64_t{level->tiles_y} * level->tile_size : level->tiles_y;
    if (width > INT32_MAX || height > INT32_MAX) return fails(s->c, RZL_NOT_STANDARD, SOURCE, "size of a member");
    level->member_width = static_cast<int32_t>(width);
    level->member_height = static_cast<int32_t>(height);
    level->tiles_across = tiled ? parts_of(level->image_x, level->tile_size) : 0;
    level->tiles_down = tiled ? parts_of(level->image_y, level->tile_size) : 0;
    if (int64_t{level->tiles_across} * level->tiles_down > INT32_MAX)
        return fails(s->c, RZL_NOT_STANDARD, SOURCE, "tiles");
    level->members_across = parts_of(tiled ? level->tiles_across : level->image_x, level->tiles_x);
    level->members_down = parts_of(tiled ? level->tiles_down : level->image_y, level->tiles_y);
    int64_t count = int64_t{level->members_across} * level->members_down;
    if (count > s->size / LEAST_MEMBER + 1)
        return fails(s->c, RZL_CATALOG_COUNT, SOURCE, "Not enough file names in catalog");
    level->member_count = static_cast<int32_t>(count);
    level->names = static_cast<char**>(mem_alloc_zeroed((static_cast<size_t>(count) + 1) * sizeof(char*)));
    level->members = static_cast<CFILE**>(mem_alloc_zeroed(static_cast<size_t>(count) * sizeof(CFILE*)));
    return (level->names != nullptr && level->members != nullptr) || fails(s->c, RZL_NO_MEMORY, SOURCE, nullptr);
}

// A name and its place in the grid.
bool take_member(scanner* s, sut_level* level, int32_t taken) {
    if (taken >= level->member_count) return fails(s->c, RZL_CATALOG_COUNT, SOURCE, "Too many file names in catalog.");
    size_t size = std::strlen(s->token) + 1;
    auto* name = static_cast<char*>(mem_alloc(size));
    if (name == nullptr) return fails(s->c, RZL_NO_MEMORY, SOURCE, nullptr);
    std::memcpy(name, s->token, size);
    int32_t index = 0;
    bool placed = next_number(s, &index);
    if (placed && index >= level->member_count)
        placed = fails(s->c, RZL_CATALOG_COUNT, SOURCE, "Too many file names in catalog.");
    if (!placed) {
        mem_free(name);
        return false;
    }
    mem_free(level->names[index]);
    level->names[index] = name;
    return true;
}

int scan_files(scanner* s, sut_level* level) {
    bool sized = level->image_x != 0 && level->image_y != 0 && level->tiles_x != 0 && level->tiles_y != 0;
    if (!sized || !level->tilesize_seen || level->files_seen) return not_standard(s->c, "FILES");
    if (!make_grid(s, level)) return 1;
    level->files_seen = true;
    for (int32_t taken = 0; next_token(s); ++taken) {
        s->pushed = keyword_of(s->token) != keyword::none;
        if (s->pushed) break;
        if (!take_member(s, level, taken)) return 1;
    }
    level->tilesize_seen = false;
    bool complete =
        std::all_of(level->names, level->names + level->member_count, [](const char* n) { return n != nullptr; });
    return complete ? 0 : refuse(s->c, RZL_CATALOG_COUNT, SOURCE, "Not enough file names in catalog");
}

int scan_number(scanner* s, int32_t* value) {
    return next_number(s, value) ? 0 : 1;
}

// One keyword with its value. *level is the one that what follows describes.
int scan_keyword(scanner* s, sut_level** level) {
    sut_level* l = *level;
    switch (keyword_of(s->token)) {
    case keyword::mark: return 0;
    case keyword::version: return next_token(s) ? 0 : not_standard(s->c, "VERSION");
    case keyword::image_x: return scan_number(s, &l->image_x);
    case keyword::image_y: return scan_number(s, &l->image_y);
    case keyword::tiles_x: return scan_number(s, &l->tiles_x);
    case keyword::tiles_y: return scan_number(s, &l->tiles_y);
    case keyword::tile_size: l->tilesize_seen = true; return scan_number(s, &l->tile_size);
    case keyword::format: return scan_number(s, &l->format);
    case keyword::files: return scan_files(s, l);
    case keyword::overview: {
        int32_t id = 0;
        if (!next_number(s, &id)) return 1;
        sut_level* added = add_overview(s->c, id);
        if (added == nullptr) return 1;
        *level = added;
        return 0;
    }
    case keyword::none: break;
    }
    return not_standard(s->c, s->token);
}

} // namespace

int sut_scan(CFILE* c) {
    sut_spec* spec = sut_spec_of(c);
    mem_guard<scanner> s(mem_new<scanner>());
    if (!s) return refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    s->c = c;
    s->size = io_size(c);
    spec->base.level_id = -1;
    spec->base.format = RZL_FORMAT_BYTE;
    sut_level* level = &spec->base;
    if (!io_seek(c, 0)) return refuse(c, RZL_READ_FAILED, SOURCE, nullptr);
    while (next_token(s.get()))
        if (scan_keyword(s.get(), &level) != 0) return 1;
    int32_t id = -1;
    for (sut_level* l = &spec->base; l != nullptr; l = l->next, ++id) {
        if (l->level_id != id) return refuse(c, RZL_NO_SUCH_OVERVIEW, SOURCE, "OVERVIEW");
        l->current_member = -1;
        l->open_limit = SUT_OPEN_LIMIT;
    }
    for (sut_level* l = &spec->base; l != nullptr; l = l->next)
        if (!l->files_seen) return not_standard(c, "FILES");
    spec->overview_count = id;
    spec->active = &spec->base;
    return 0;
}
