// SUT catalogs: a picture of many files. The module's private records and what its files offer to each other.
//
// A catalog is a text that tells the size of the whole picture, the grid of its tiles, and which file has each part of
// the grid, for the full picture and for any number of overviews:
//
//     SUPERT!  VERSION 1.0
//     IMAGEX 3000  IMAGEY 2000                size in pixels
//     TILESX 4  TILESY 4  TILESIZE 256        tiles of a member, and pixels of a tile's side
//     FORMAT 2
//     FILES a.tif 0  b.tif 1 ...              a name and its place in the grid, row by row
//     OVERVIEW 0  IMAGEX 1500 ...             the same again
//
// Behind "#" a line says nothing. The handle of a catalog answers like a tiled file, and hands each tile to the member
// that has it. Members are opened when they are needed, and some are closed when too many stand open.
//
// A member's name is one inside of the catalog's directory. A member may be a catalog, but none that it is opened by.
#pragma once

#include "raster/CORE/module.h"

constexpr int32_t SUT_OPEN_LIMIT = 100; // members, at first
constexpr int SUT_MOST_DEPTH = 8;       // catalogs in each other
constexpr size_t SUT_LINE = 516;        // a line's characters and its end

// The full picture, or an overview.
struct sut_level {
    int32_t image_x, image_y;
    int32_t member_width, member_height; // pixels
    int32_t tiles_across, tiles_down;
    int32_t tiles_x, tiles_y; // of a member; pixels where there are no tiles
    int32_t members_across, members_down;
    int32_t member_count;
    int32_t tile_size;
    int32_t format;
    int32_t current_member; // last selected, -1: none
    int32_t open_members, open_limit;
    bool tilesize_seen, files_seen;
    int32_t level_id; // -1: the full picture
    sut_level* next;  // owned
    CFILE** members;  // owned, as the handles are: null where closed
    char** names;     // owned
};

// The module's record, in CFILE's `spec`: the first level, and what the catalog has beside.
struct sut_spec {
    sut_level base;
    sut_level* active;
    int32_t overview_count;
    int32_t standard; // of new members
};

inline sut_spec* sut_spec_of(const CFILE* c) {
    return static_cast<sut_spec*>(c->spec);
}

// ---- scancat.cpp ---------------------------------------------------------------------------------------------------

// Reads the catalog's text from its start into the record. 0, or 1 with the status.
int sut_scan(CFILE* c);

// ---- sutinfo.cpp ---------------------------------------------------------------------------------------------------

// The path of a member. False, with RZL_CANNOT_OPEN, for a name that leads out of the catalog's directory.
bool sut_member_path(CFILE* c, const char* name, char* path, size_t size);

// The member that has the tile of the handle's `line`, open and standing at it. Null with the status.
CFILE* sut_select_member(CFILE* c);

// A member of the active level, open. Null with the status.
CFILE* sut_open_member(CFILE* c, int32_t number);

// Closes a member; what fails then is the handle's status. Closes all of a level.
void sut_close_member(CFILE* c, sut_level* level, int32_t member);
void sut_close_members(CFILE* c, sut_level* level);

// Gives the status of an operation on a member to the catalog. `result` passes.
int sut_pass_status(CFILE* c, CFILE* member, int result);

int sut_get_hdr_data(CFILE* c, int32_t field, void* value);
int sut_set_hdr_data(CFILE* c, int32_t field, const void* value);
int sut_get_stat(CFILE* c, rzl_stat* stat);
int sut_set_stat(CFILE* c, const rzl_stat* stat);
int sut_get_vlt(CFILE* c, rzl_vlt_entry* entries);
int sut_get_packet(CFILE* c, void* buffer);
int sut_put_packet(CFILE* c, const void* buffer);
int sut_write_header(CFILE* c);
int sut_set_active_overview(CFILE* c, int32_t overview);

// ---- sutput.cpp ----------------------------------------------------------------------------------------------------

int sut_get_tile(CFILE* c, int channels, read_planes buffers, uint32_t* size_word);
int sut_put_tile(CFILE* c, int channels, write_planes buffers, uint32_t* size_word);
int sut_putline(CFILE* c, int channels, write_planes buffers);
int sut_put_line(CFILE* c, int channels, write_planes buffers);

// Creates all members of all levels. 0, or 1 with the status.
int sut_create_members(CFILE* c);
