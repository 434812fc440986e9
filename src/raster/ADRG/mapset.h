// What the two kinds of map sets have in common: sets of files whose description is ISO 8211 records, in files beside
// the image, and whose image is square tiles.
//
// A record begins with a leader of 24 characters: its length in five digits, at 6 the letter of its kind, at 12 the
// place of its fields in five digits, at 20, 21 and 23 the sizes of directory entries. A directory follows up to the
// fields. Fields end in the byte 30 and what they are made of in the byte 31. Of what records hold only the places that
// the two kinds have fixed are looked at; records are passed over by their length.
//
// The handle's own file takes turns: the image, from which the set was recognised, is closed, description files are
// opened in its place, and in the end the image again. Names are made from the image's; none comes from a file.
#pragma once

#include "raster/CORE/module.h"

constexpr size_t ISO_LEADER = 24;
constexpr uint8_t ISO_FIELD_END = 30;
constexpr uint8_t ISO_PART_END = 31;

constexpr bool iso_is_separator(uint8_t byte) {
    return byte == ISO_FIELD_END || byte == ISO_PART_END;
}

struct iso_leader {
    int64_t length;   // of the record, the leader with it
    int64_t base;     // of the fields, from the record's start
    uint8_t mark[5];  // characters 5 to 9: "2L   " or " D   "
    uint8_t sizes[3]; // characters 20, 21 and 23
};

// The leader of the record that begins at `place`. False when there is none that makes sense.
bool iso_read_leader(CFILE* c, int64_t place, iso_leader* leader);

// Moves *place over `count` records. False when one is no record.
bool iso_skip_records(CFILE* c, int64_t* place, int count);

// Reads `count` bytes from a place of the file.
bool iso_read_at(CFILE* c, int64_t place, void* bytes, size_t count);

// ---- names ----------------------------------------------------------------------------------------------------------

// The parts that a set's image can be, by words in its name.
enum class set_part : uint8_t { overview, image, picture, legend };

struct set_name {
    const char* name; // the image's, with its directory
    const char* last; // its last component
    size_t dot;       // where the word of the part begins in `name`
    set_part part;
    bool lower; // the word is in lower case, and so are the names of the other files
};

struct set_word {
    const char *upper, *lower;
    set_part part;
};

// Finds the first of the words that the last component of the name has. False when it has none, or there is no name.
bool set_take_name(const char* name, std::span<const set_word> words, set_name* out);

// Opens a description file in the place of the handle's, which may be closed: the image's name up to `back` characters
// before its word, and `ending` behind that. False with the status.
bool set_open_beside(CFILE* c, const set_name& name, size_t back, const char* ending);

// Whether there is such a file.
bool set_has_beside(const set_name& name, size_t back, const char* ending);

// Opens the image again.
bool set_open_image(CFILE* c, const set_name& name);

// Whether a name from a record, blanks and separators behind it taken off, stands in the image's name, in any case of
// letters. An empty one does not.
bool set_name_has(const set_name& name, const char* text, size_t width);

// ---- tiles ----------------------------------------------------------------------------------------------------------

// The handle becomes a tiled picture of one or three planes of bytes, read only, of whole tiles. 0, or 1 with the
// status.
int set_make_tiles(CFILE* c, int32_t across, int32_t down, int32_t width, int32_t height, bool colors);

// A tile that has no data, for Gettile: told where that was asked for, else the first `rows` rows are 0.
void set_give_empty(const CFILE* c, int channels, read_planes planes, size_t pitch, uint32_t rows, uint32_t* size_word);

// A line as runs, for Getrleline: pairs of value and count of a picture of one plane, words of three colours and a
// count of one of three (PNM/pnmmisc.h). They are made of the line that is read, in no more than the caller's room.
int set_get_rle_line(CFILE* c, int channels, read_planes buffers);

// Rows of a tile, one behind the other, into a plane.
void set_copy_rows(const CFILE* c, const uint8_t* from, uint32_t rows, uint8_t* plane, size_t pitch);
