// SUT catalogs: tiles and lines of members, and creating the members.
#include <algorithm>
#include <cstring>

#include "platform/files.h"
#include "raster/CORE/lines.h"
#include "raster/SUT/sut.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "SUT/sutput";

int set_integer(CFILE* c, int32_t field, int32_t value) {
    return rzl_set_hdr_data(c, field, &value);
}

// Pixels of the last of `count` members of `size` in a row or column of `all`.
int32_t last_size(int32_t all, int32_t size, int32_t count) {
    return static_cast<int32_t>(all - (int64_t{count} - 1) * size);
}

// The fields of a new member.
bool set_up_member(CFILE* c, const sut_level* level, CFILE* member, int32_t number) {
    bool last_column = number % level->members_across == level->members_across - 1;
    bool last_row = number >= level->member_count - level->members_across;
    int32_t width =
        last_column ? last_size(level->image_x, level->member_width, level->members_across) : level->member_width;
    int32_t height =
        last_row ? last_size(level->image_y, level->member_height, level->members_down) : level->member_height;
    bool good = set_integer(member, RZL_FIELD_STANDARD, sut_spec_of(c)->standard) == 0 &&
                set_integer(member, RZL_FIELD_FORMAT, level->format) == 0 &&
                set_integer(member, RZL_FIELD_XSIZE, width) == 0 && set_integer(member, RZL_FIELD_YSIZE, height) == 0;
    if (level->tile_size != 0) {
        good = good && set_integer(member, RZL_FIELD_TILE_WIDTH, level->tile_size) == 0;
        bool square = member->tile != nullptr && member->tile->height == static_cast<uint32_t>(level->tile_size);
        good = good && (square || set_integer(member, RZL_FIELD_TILE_HEIGHT, level->tile_size) == 0);
        good = good && has_flag(member, FLAG_TILED);
    }
    if (!good && member->status != 0) return fails(c, member->status, SOURCE, "a member's header");
    return good || fails(c, RZL_ONLY_UNTILED, SOURCE, "a member's header");
}

// The very first member stays open, for the application to set fields of.
bool create_member(CFILE* c, sut_level* level, int32_t number) {
    char path[FILES_PATH_SIZE];
    if (!sut_member_path(c, level->names[number], path, sizeof path)) return false;
    CFILE* member = open_member(c, path, c->mode);
    if (member == nullptr) return fails(c, last_status() != 0 ? last_status() : RZL_CANNOT_OPEN, SOURCE, path);
    bool first = level->level_id < 0 && number == 0;
    bool good = set_up_member(c, level, member, number);
    if (good && first) {
        set_flag(member, FLAG_SIZE_FIXED, true);
        level->members[0] = member;
        level->open_members = 1;
        return true;
    }
    if (good && rzl_write_header(member) != 0) good = fails(c, member->status, SOURCE, path);
    uint32_t closed = rzl_finish(member);
    if (good && closed != 0) good = fails(c, closed, SOURCE, path);
    return good;
}

// A part of a line into the member that has it.
bool put_part(CFILE* c, sut_level* level, int32_t column, int channels, write_planes buffers) {
    int32_t number = c->line / level->member_height * level->members_across + column;
    CFILE* member = sut_open_member(c, number);
    if (member == nullptr) return false;
    size_t place = line_bytes(c, int64_t{column} * level->member_width);
    mem_guard<const void*> planes(mem_new_array<const void*>(static_cast<size_t>(channels)));
    if (!planes) return fails(c, RZL_NO_MEMORY, SOURCE, "putline");
    for (size_t i = 0; i < static_cast<size_t>(channels); ++i)
        planes[i] = buffers[i] != nullptr ? buffers[i] + place : nullptr;
    int32_t line = c->line % level->member_height;
    bool good = (member->line == line || rzl_seek(member, line) == 0) &&
                rzl_putline_channels(member, channels, planes.get()) == 0;
    if (good) return true;
    (void)sut_pass_status(c, member, 1);
    return c->status == 0 && fails(c, RZL_WRITE_FAILED, SOURCE, "putline");
}

// The lines of a member that is one tile and not tiled, at the distance of the tile's lines.
int get_lines(CFILE* c, CFILE* member, int channels, read_planes buffers) {
    size_t pitch = line_bytes(c, c->tile->width) * samples_together(c);
    mem_guard<uint8_t*> planes(mem_new_array<uint8_t*>(static_cast<size_t>(channels) + 1));
    if (!planes) return fails(c, RZL_NO_MEMORY, SOURCE, "tile");
    int pixels = 0;
    for (size_t y = 0; y < static_cast<size_t>(member->ysize); ++y) {
        for (size_t i = 0; i < static_cast<size_t>(channels); ++i)
            planes[i] = buffers[i] != nullptr ? buffers[i] + y * pitch : nullptr;
        pixels = member->slots.Getline(member, channels, planes.get());
        if (pixels <= 0 || member->status != 0) return 0;
    }
    return pixels;
}

} // namespace

int sut_create_members(CFILE* c) {
    for (sut_level* level = &sut_spec_of(c)->base; level != nullptr; level = level->next)
        for (int32_t i = 0; i < level->member_count; ++i)
            if (!create_member(c, level, i)) return 1;
    return 0;
}

int sut_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t* size_word) {
    rzl_gettile_check(c);
    if (c->status != 0) return 0;
    CFILE* member = sut_select_member(c);
    if (member == nullptr) return 0;
    flag_guard raw(member, FLAG_RAW_SAMPLES, has_flag(c, FLAG_RAW_SAMPLES));
    flag_guard together(member, FLAG_INTERLEAVED, has_flag(c, FLAG_INTERLEAVED));
    flag_guard four(member, FLAG_FOUR_BYTE_PIXELS, has_flag(c, FLAG_FOUR_BYTE_PIXELS));
    member->status = 0;
    int pixels = has_flag(member, FLAG_TILED) ? member->slots.Gettile(member, channels, buffers, size_word)
                                              : get_lines(c, member, channels, buffers);
    (void)sut_pass_status(c, member, 0);
    if (has_flag(member, FLAG_DAMAGED)) set_flag(c, FLAG_DAMAGED, true);
    if (c->status != 0 || pixels <= 0) return 0;
    ++c->line;
    return pixels;
}

int sut_put_tile(CFILE* c, int channels, write_planes buffers, uint32_t* size_word) {
    if (rzl_puttile_check(c) != 0) return 0;
    CFILE* member = sut_select_member(c);
    if (member == nullptr) return 0;
    member->status = 0;
    int pixels = sut_pass_status(c, member, member->slots.Puttile(member, channels, buffers, size_word));
    if (c->status != 0 || pixels <= 0) return 0;
    ++c->line;
    return pixels;
}

int sut_putline(CFILE* c, int channels, write_planes buffers) {
    if (!handle_is_valid(c, "rzl_putline")) return 0;
    if (!is_writable(c)) return fails(c, RZL_NEEDS_WRITE, SOURCE, "rzl_putline");
    if (c->line < 0 || c->line >= c->ysize) return fails(c, RZL_PAST_END, SOURCE, "rzl_putline");
    return has_flag(c, FLAG_TILED) ? rzl_putline_to_tiles(c, channels, buffers) : sut_put_line(c, channels, buffers);
}

// A line of a picture without tiles: each member of its row has a part. Parts of bits begin with a word.
int sut_put_line(CFILE* c, int channels, write_planes buffers) {
    constexpr int32_t WORD = 16;
    sut_level* level = sut_spec_of(c)->active;
    bool fits = level->tile_size == 0 && level->members_across <= level->open_limit &&
                (!format_is_bilevel(c->format) || level->members_across == 1 || level->member_width % WORD == 0);
    if (!fits) return fails(c, RZL_UNSUPPORTED, SOURCE, "putline");
    for (int32_t column = 0; column < level->members_across; ++column)
        if (!put_part(c, level, column, channels, buffers)) return 0;
    return c->xsize;
}
