// SUT catalogs: members and their names, and header fields, which the first member answers.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "platform/files.h"
#include "raster/CORE/lines.h"
#include "raster/SUT/sut.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "SUT/sutinfo";

bool cannot_open(CFILE* c, const char* detail, int line = __builtin_LINE()) {
    return fails(c, RZL_CANNOT_OPEN, SOURCE, detail, line);
}

bool is_separator(char c) {
    return c == '/' || c == '\\';
}

// Whether a name stays below the directory that it is taken from.
bool stays_inside(const char* name) {
    bool has_drive = name[0] != '\0' && name[1] == ':';
    if (name[0] == '\0' || is_separator(name[0]) || has_drive) return false;
    for (const char* at = name; *at != '\0';) {
        size_t length = std::strcspn(at, "/\\");
        if (length == 2 && at[0] == '.' && at[1] == '.') return false;
        at += length;
        at += *at != '\0' ? 1 : 0;
    }
    return true;
}

// A catalog that this one is opened by, or itself.
bool is_ring(const CFILE* c, const char* path) {
    for (const CFILE* at = c; at != nullptr; at = at->catalog)
        if (at->name != nullptr && files_is_same(at->name, path)) return true;
    return false;
}

bool is_too_deep(const CFILE* c) {
    int depth = 0;
    for (const CFILE* at = c; at != nullptr; at = at->catalog)
        ++depth;
    return depth > SUT_MOST_DEPTH;
}

// Whether the tiles of a member are those of the picture: the planes of a call are made for the picture's. A file that
// is no more than one tile need not be tiled.
bool is_like_first(CFILE* c, CFILE* member) {
    auto width = static_cast<int32_t>(c->tile->width);
    bool tiles = has_flag(member, FLAG_TILED) && member->tile != nullptr && member->tile->width == c->tile->width &&
                 member->tile->height == c->tile->height;
    if (!has_flag(member, FLAG_TILED))
        tiles = member->xsize <= width && int64_t{member->ysize} <= int64_t{c->tile->height};
    if (!tiles) return fails(c, RZL_BAD_TILE_SIZE, SOURCE, "tiles of a member");
    bool same = member->samples == c->samples && line_bytes(member, width) == line_bytes(c, width) &&
                format_is_color(member->format) == format_is_color(c->format) &&
                format_is_bilevel(member->format) == format_is_bilevel(c->format);
    return same || fails(c, RZL_NOT_STANDARD, SOURCE, "format of a member");
}

// Half of the members that may be open are closed, so that not every further one closes another.
void make_room(CFILE* c, sut_level* level) {
    int32_t wanted = level->open_limit / 2;
    if (wanted < 1) return;
    for (int32_t i = 0; i < level->member_count && wanted > 0; ++i) {
        if (level->members[i] == nullptr) continue;
        sut_close_member(c, level, i);
        --wanted;
    }
}

// Opens it, and when there are no more handles, with all others closed.
CFILE* open_with_room(CFILE* c, sut_level* level, const char* path) {
    uint32_t mode = is_writable(c) ? MODE_UPDATE : MODE_READ;
    CFILE* member = open_member(c, path, mode);
    if (member != nullptr || last_status() != RZL_CANNOT_OPEN || level->open_members == 0) return member;
    constexpr double SHARE = 0.8;
    if (level->open_limit > level->open_members)
        level->open_limit = std::max(static_cast<int32_t>(level->open_members * SHARE), 1);
    sut_close_members(c, level);
    return open_member(c, path, mode);
}

} // namespace

bool sut_member_path(CFILE* c, const char* name, char* path, size_t size) {
    if (!stays_inside(name)) return cannot_open(c, name);
    if (c->name == nullptr || c->name[0] == '\0' || has_flag(c, FLAG_MEMORY)) return cannot_open(c, "no directory");
    size_t directory = static_cast<size_t>(files_last_name(c->name) - c->name);
    int length = std::snprintf(path, size, "%.*s%s", static_cast<int>(directory), c->name, name);
    if (length < 0 || static_cast<size_t>(length) >= size) return cannot_open(c, name);
    return (!is_ring(c, path) && !is_too_deep(c)) || cannot_open(c, "a ring of catalogs");
}

int sut_pass_status(CFILE* c, CFILE* member, int result) {
    if (member->status != 0) c->status = member->status;
    return result;
}

// A new member whose header has not been written gets it here.
void sut_close_member(CFILE* c, sut_level* level, int32_t member) {
    CFILE* m = level->members[member];
    if (m == nullptr) return;
    level->members[member] = nullptr;
    --level->open_members;
    uint32_t status = 0;
    if (is_writable(m) && !has_flag(m, FLAG_HEADER_EXISTS) && rzl_write_header(m) != 0) status = m->status;
    uint32_t closed = rzl_finish(m);
    if (status == 0) status = closed;
    if (status != 0 && c->status == 0) fail(c, status, SOURCE, "close");
}

void sut_close_members(CFILE* c, sut_level* level) {
    for (int32_t i = 0; level->members != nullptr && level->open_members > 0 && i < level->member_count; ++i)
        sut_close_member(c, level, i);
}

CFILE* sut_open_member(CFILE* c, int32_t number) {
    sut_level* level = sut_spec_of(c)->active;
    if (level->members[number] != nullptr) return level->members[number];
    char path[FILES_PATH_SIZE];
    if (!sut_member_path(c, level->names[number], path, sizeof path)) return nullptr;
    if (level->open_members >= level->open_limit) make_room(c, level);
    CFILE* member = open_with_room(c, level, path);
    if (c->status != 0 || member == nullptr) {
        if (c->status == 0) fail(c, last_status() != 0 ? last_status() : RZL_CANNOT_OPEN, SOURCE, path);
        if (member != nullptr) rzl_close(member);
        return nullptr;
    }
    if (c->tile != nullptr && !is_like_first(c, member)) {
        rzl_close(member);
        return nullptr;
    }
    set_flag(member, FLAG_SIZE_FIXED, true);
    level->members[number] = member;
    ++level->open_members;
    return member;
}

CFILE* sut_select_member(CFILE* c) {
    sut_level* level = sut_spec_of(c)->active;
    if (level->tiles_across == 0) {
        fail(c, RZL_ONLY_TILED, SOURCE, "select");
        return nullptr;
    }
    int32_t row = c->line / level->tiles_across;
    int32_t column = c->line % level->tiles_across;
    int64_t number = int64_t{row / level->tiles_y} * level->members_across + column / level->tiles_x;
    if (number >= level->member_count) number = 0;
    CFILE* member = sut_open_member(c, static_cast<int32_t>(number));
    if (member == nullptr) return nullptr;
    level->current_member = static_cast<int32_t>(number);
    int64_t across = has_flag(member, FLAG_TILED) ? member->tile->tiles_across : 1;
    int64_t tile = row % level->tiles_y * across + column % level->tiles_x;
    bool inside = column % level->tiles_x < across && tile <= (has_flag(member, FLAG_TILED) ? INT32_MAX : 0);
    if (!inside || rzl_seek(member, static_cast<int32_t>(tile)) != 0) {
        if (inside) (void)sut_pass_status(c, member, 1);
        if (c->status == 0) fail(c, RZL_PAST_END, SOURCE, "select");
        return nullptr;
    }
    return member;
}

// ---- header --------------------------------------------------------------------------------------------------------

int sut_get_hdr_data(CFILE* c, int32_t field, void* value) {
    const sut_spec* spec = sut_spec_of(c);
    const sut_level* level = spec->active;
    switch (field) {
    case RZL_FIELD_MATRIX: return 0;
    case RZL_FIELD_TILE_WIDTH:
    case RZL_FIELD_TILE_HEIGHT: give_int(value, level->tile_size); return 0;
    case RZL_FIELD_TILES_ACROSS: give_int(value, level->tiles_across); return 0;
    case RZL_FIELD_TILES_DOWN: give_int(value, level->tiles_down); return 0;
    case RZL_FIELD_OVERVIEWS: give_int(value, spec->overview_count); return 0;
    // The first member's is as long as that has tiles, which can be more than the catalog says.
    case RZL_FIELD_TILE_DIRECTORY: return refuse(c, RZL_BAD_FIELD_ID, SOURCE, "Get hdr data");
    default: break;
    }
    CFILE* member = sut_open_member(c, 0);
    return member != nullptr ? sut_pass_status(c, member, rzl_get_hdr_data(member, field, value)) : 1;
}

int sut_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    switch (field) {
    case RZL_FIELD_XSIZE:
    case RZL_FIELD_YSIZE:
    case RZL_FIELD_FORMAT:
    case RZL_FIELD_MATRIX:
    case RZL_FIELD_TILES_ACROSS:
    case RZL_FIELD_TILES_DOWN:
    case RZL_FIELD_IMAGES:
    case RZL_FIELD_STANDARD:
    case RZL_FIELD_SAMPLES:
    case RZL_FIELD_QUALITY: return 0;
    case RZL_FIELD_TILE_WIDTH:
        return int_of(value) == sut_spec_of(c)->active->tile_size ? 0
                                                                  : refuse(c, RZL_BAD_TILE_SIZE, SOURCE, "tile size");
    default: break;
    }
    CFILE* member = sut_open_member(c, 0);
    return member != nullptr ? sut_pass_status(c, member, rzl_set_hdr_data(member, field, value)) : 1;
}

int sut_get_stat(CFILE* c, rzl_stat* stat) {
    CFILE* member = sut_open_member(c, 0);
    if (member == nullptr) return 1;
    int result = sut_pass_status(c, member, rzl_get_stat(member, stat));
    stat->overview_count = sut_spec_of(c)->overview_count;
    return result;
}

// Sizes are the member's own.
int sut_set_stat(CFILE* c, const rzl_stat* stat) {
    CFILE* member = sut_open_member(c, 0);
    if (member == nullptr) return 1;
    rzl_stat now = {};
    if (rzl_get_stat(member, &now) != 0) return sut_pass_status(c, member, 1);
    rzl_stat copy = *stat;
    copy.xsize = now.xsize;
    copy.ysize = now.ysize;
    copy.tile_size = now.tile_size;
    copy.tiles_across = now.tiles_across;
    copy.tiles_down = now.tiles_down;
    copy.overview_count = now.overview_count;
    return sut_pass_status(c, member, rzl_set_stat(member, &copy));
}

int sut_get_vlt(CFILE* c, rzl_vlt_entry* entries) {
    CFILE* member = sut_open_member(c, 0);
    return member != nullptr ? sut_pass_status(c, member, rzl_get_vlt(member, entries)) : 1;
}

int sut_get_packet(CFILE* c, void* buffer) {
    CFILE* member = sut_open_member(c, 0);
    return member != nullptr ? sut_pass_status(c, member, rzl_get_packet(member, buffer)) : 1;
}

int sut_put_packet(CFILE* c, const void* buffer) {
    CFILE* member = sut_open_member(c, 0);
    return member != nullptr ? sut_pass_status(c, member, rzl_put_packet(member, buffer)) : 1;
}

int sut_write_header(CFILE* c) {
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Wrt_hdr");
    CFILE* member = sut_open_member(c, 0);
    if (member == nullptr) return 1;
    if (c->vlt != nullptr) (void)rzl_put_vlt(member, c->vlt);
    return sut_pass_status(c, member, rzl_write_header(member));
}

int sut_set_active_overview(CFILE* c, int32_t overview) {
    sut_spec* spec = sut_spec_of(c);
    sut_level* level = &spec->base;
    while (level != nullptr && level->level_id != overview)
        level = level->next;
    if (level == nullptr) return refuse(c, RZL_NO_SUCH_OVERVIEW, SOURCE, "OVERVIEW");
    int32_t width = c->xsize;
    int32_t height = c->ysize;
    c->xsize = level->image_x;
    c->ysize = level->image_y;
    if (rzl_setup_tiles(c, level->tile_size, level->tile_size) != 0) {
        c->xsize = width;
        c->ysize = height;
        return 1;
    }
    spec->active = level;
    c->active_overview = overview;
    c->line = 0;
    return 0;
}
