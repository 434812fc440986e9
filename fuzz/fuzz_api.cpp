// Sequences of calls of the raster library, in any order that a program could make them. The input is not a file: its
// bytes choose the calls and what they are given, and they end the sequence by coming to an end.
//
// Two handles are driven side by side, each on a file of its own: a file in memory, of a block that may be too small
// for what is written and whose record the library may own, or one on disk. Bytes choose
// - what is opened: a new file to be written, or to be written and read back; the file that was just made, to be read
// or
//   to be updated, with its block cut to what was written or not; and the switch for today's files;
// - the picture: standard, data format, size, tiles, overviews, images, colour table, and other fields;
// - then every kind of call, whether or not it fits: fields set and asked for before and after the header, the status
//   record, colour tables, packets, the records of TIFF, NITF, USGS and MRG files, icon masks and tile directories;
//   lines got and put as one buffer, three planes, channels, 16-bit samples, interleaved and run-coded; strips; tiles,
//   plain, of 16 bits and run-coded; seeks, rewinds, resampling, the mapped set (field 34); overviews and images;
//   headers, overviews and coded pixels taken from the other handle; allocations and transfers that fail; the end of a
//   file at any time.
//
// Every buffer has the size that rzl.h promises to be enough, and not a byte more, so that a sanitizer sees an overrun.
// What else rzl.h promises of a call is demanded: a result that tells of success or failure as the status does, and
// sizes that a call reports within those that it was given.
//
// FUZZ_API_STANDARD in the environment, a number of rzl.h, makes new files of that standard alone.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "memory_file.h"
#include "platform/files.h"
#include "raster/rzl.h"
#include "support/memory.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

constexpr int MOST_CALLS = 96;
constexpr int64_t MOST_LINE_BYTES = 1 << 16; // calls on longer lines are left out
constexpr int64_t MOST_IMAGE_BYTES = 1 << 21;
constexpr int64_t MOST_TILE_BYTES = 1 << 20;
constexpr int32_t MOST_BLOCK = 1 << 16; // of a file in memory
constexpr int32_t MOST_SIDE = 300;      // of a picture, as a rule
constexpr uint32_t MOST_TABLE = 1024;   // entries of a colour table, words of packets

// ---- choices --------------------------------------------------------------------------------------------------------

// The input, byte by byte. Behind its end there are zeros.
struct chooser {
    const uint8_t* next;
    const uint8_t* end;
};

bool is_empty(const chooser* from) {
    return from->next == from->end;
}

uint8_t one_byte(chooser* from) {
    return is_empty(from) ? uint8_t{0} : *from->next++;
}

// 0 to `count` - 1; counts of more than 256 take two bytes.
uint32_t below(chooser* from, uint32_t count) {
    uint32_t value = one_byte(from);
    if (count > 256) value = value << 8 | one_byte(from);
    return value % count;
}

bool chance(chooser* from, uint32_t one_in) {
    return below(from, one_in) == one_in - 1;
}

template <typename T, size_t count> T pick(chooser* from, const T (&list)[count]) {
    return list[below(from, static_cast<uint32_t>(count))];
}

// A number that a field may have, or that is at the edge of what it may have, or out of all bounds.
int32_t number(chooser* from) {
    static constexpr int32_t EDGES[] = {
        0,  1,  2,   3,   4,   5,   6,   7,    8,     9,     15,        16,        17,   23,    24,    25,   26,  27,
        28, 29, 31,  32,  33,  48,  64,  65,   69,    90,    100,       127,       128,  255,   256,   257,  512, 1000,
        -1, -2, -16, 600, 'A', 'B', ' ', 4096, 32767, 32768, INT32_MIN, INT32_MAX, 8192, 32773, 65535, 65536};
    return chance(from, 3) ? static_cast<int32_t>(one_byte(from)) : pick(from, EDGES);
}

double real(chooser* from) {
    static constexpr double EDGES[] = {0,
                                       1,
                                       -1,
                                       0.5,
                                       3.2,
                                       3.3,
                                       1e-300,
                                       1e7,
                                       1e10,
                                       -1e300,
                                       std::numeric_limits<double>::infinity(),
                                       std::numeric_limits<double>::quiet_NaN()};
    return pick(from, EDGES);
}

// ---- buffers --------------------------------------------------------------------------------------------------------

// Memory of exactly `size` bytes.
struct exact {
    size_t size = 0;
    std::unique_ptr<uint8_t[]> memory;
    uint8_t* data() const { return memory.get(); }
};

exact make_exact(size_t size) {
    return exact{size, std::make_unique<uint8_t[]>(size)};
}

// Pixels and other content: nothing but one value, or values that go up by a step.
exact make_filled(chooser* from, size_t size) {
    exact buffer = make_exact(size);
    uint8_t value = one_byte(from);
    auto step = static_cast<uint8_t>(below(from, 4) * 37);
    for (size_t i = 0; i < size; ++i, value = static_cast<uint8_t>(value + step))
        buffer.data()[i] = value;
    return buffer;
}

// Planes of a call: `channels` of them, some null. The array is of exactly that many pointers.
struct plane_set {
    int channels = 0;
    std::vector<exact> planes;
    exact list;
    void* const* all() const { return reinterpret_cast<void* const*>(list.data()); }
    const void* const* all_const() const { return reinterpret_cast<const void* const*>(list.data()); }
    void* at(size_t i) const { return all()[i]; }
};

plane_set make_planes(chooser* from, int channels, size_t bytes) {
    plane_set set;
    set.channels = channels;
    auto count = static_cast<size_t>(std::max(channels, 0));
    uint32_t missing = chance(from, 4) ? below(from, 64) : 0; // a bit for each plane that is null
    set.list = make_exact(count * sizeof(void*));
    for (size_t i = 0; i < count; ++i) {
        set.planes.push_back(make_filled(from, bytes));
        void* plane = (missing >> i & 1) != 0 ? nullptr : set.planes.back().data();
        std::memcpy(set.list.data() + i * sizeof plane, static_cast<void*>(&plane), sizeof plane);
    }
    return set;
}

// ---- handles --------------------------------------------------------------------------------------------------------

// One of the two handles, and what belongs to its file.
struct slot {
    CFILE* file = nullptr;
    bool writable = false;
    bool resampled = false;
    std::string path;              // of the file on disk
    exact block;                   // of the file in memory; empty while it is on disk
    rzl_memfile* record = nullptr; // of the file in memory, owned unless the library is to free it
    // What was given to the library until the header is written, and its entries and words.
    std::vector<exact> given;
    int32_t table_entries = -1, packet_words = -1; // -1: not given
    int32_t wanted_entries = -1;                   // the most that field 6 was set to; -1: to nothing, which means 256
    int32_t first_entry = 0;                       // and field 601
};

struct driver {
    chooser* from;
    slot* at;    // the handle of the call
    slot* other; // the other one, which need not be open
};

int32_t value_of(CFILE* c, int32_t id) {
    int32_t value = 0;
    if (rzl_get_hdr_data(c, id, &value) != 0) return 0;
    return value;
}

// The result of a call tells the same as the status.
void expect(CFILE* c, int result) {
    uint32_t status = 0;
    (void)rzl_get_hdr_data(c, RZL_FIELD_STATUS, &status);
    bool holds = (result == 0 || result == 1) && (result == 0) == (status == 0);
    if (!holds) std::fprintf(stderr, "result %d, but status %s\n", result, rzl_status_name(status));
    demand(holds);
    demand(*rzl_status_name(status) != '\0' && *rzl_status_text(status) != '\0');
}

bool lines_are_short(CFILE* c) {
    return static_cast<int64_t>(std::max(rzl_line_size(c), rzl_interleaved_size(c))) <= MOST_LINE_BYTES;
}

bool image_is_small(CFILE* c) {
    if (!lines_are_short(c)) return false;
    auto line = static_cast<int64_t>(rzl_interleaved_size(c));
    return std::max<int64_t>(line, 1) * value_of(c, RZL_FIELD_YSIZE) <= MOST_IMAGE_BYTES;
}

// The library takes colour table and packets from where they were given when it writes the header, as many as the
// fields were set to, or tell then. Gives them again when the fields have grown.
int32_t entries_of(slot* s) {
    int32_t told = std::clamp(value_of(s->file, RZL_FIELD_VLT_ENTRIES), 0, int32_t{1 << 16});
    return std::max(told, s->wanted_entries < 0 ? 256 : s->wanted_entries) + std::min(s->first_entry, 1 << 16);
}

// A value that is refused may have been taken all the same, and leaves a count that was not set as it is.
void note_entries(slot* s, int result, int32_t entries) {
    bool is_set = result == 0 || s->wanted_entries >= 0;
    s->wanted_entries = std::max(is_set ? s->wanted_entries : 256, entries);
}

void give_table(driver* d) {
    int32_t entries = entries_of(d->at);
    d->at->given.push_back(make_filled(d->from, static_cast<size_t>(entries) * sizeof(rzl_vlt_entry)));
    auto* table = reinterpret_cast<rzl_vlt_entry*>(d->at->given.back().data());
    for (int32_t i = 0; i < entries; ++i)
        table[i].slot = static_cast<uint16_t>(i);
    if (rzl_put_vlt(d->at->file, table) == 0) d->at->table_entries = entries;
}

void give_packets(driver* d) {
    int32_t words = std::clamp(value_of(d->at->file, RZL_FIELD_PACKET_WORDS), 0, int32_t{1 << 20});
    d->at->given.push_back(make_filled(d->from, static_cast<size_t>(words) * 2));
    if (rzl_put_packet(d->at->file, d->at->given.back().data()) == 0) d->at->packet_words = words;
}

void keep_promises(driver* d) {
    slot* s = d->at;
    if (s->file == nullptr) return;
    if (s->table_entries >= 0 && entries_of(s) > s->table_entries) give_table(d);
    if (s->packet_words >= 0 && value_of(s->file, RZL_FIELD_PACKET_WORDS) > s->packet_words) give_packets(d);
}

// ---- fields ---------------------------------------------------------------------------------------------------------

constexpr int32_t INTEGERS[] = {1,   2,   3,   5,   6,   7,   8,   9,   10,  11,  12,  13,  19,  20,  21,  22,  23,
                                31,  32,  33,  34,  35,  36,  100, 101, 102, 104, 200, 201, 400, 401, 402, 403, 404,
                                405, 406, 407, 500, 501, 502, 503, 504, 505, 506, 507, 508, 600, 601, 602, 603, 604,
                                605, 606, 607, 609, 644, 650, 651, 660, 670, 701, 702, 0,   99,  999, -1};

struct sized_field {
    int32_t id;
    size_t bytes;
    bool is_real;
};
constexpr sized_field SIZED[] = {{4, 128, true},
                                 {14, 80, false},
                                 {15, 200, false},
                                 {16, 66, false},
                                 {17, 66, false},
                                 {18, 66, false},
                                 {24, 8, false},
                                 {25, 8, false},
                                 {26, 8, true},
                                 {27, 24, true},
                                 {28, 24, true},
                                 {29, 8, true},
                                 {30, 8, true},
                                 {608, 256, false},
                                 {630, 512, false},
                                 {640, 128, false},
                                 {641, 128, false},
                                 {642, 128, false},
                                 {643, 128, false},
                                 {645, 128, false},
                                 {646, 128, false},
                                 {647, 128, false},
                                 {648, 128, false},
                                 {649, 128, false},
                                 {652, 32, false},
                                 {667, 128, false},
                                 {668, 128, false},
                                 {669, 128, false},
                                 {671, 8, true},
                                 {672, 128, false},
                                 {673, 128, false},
                                 {674, 128, false},
                                 {730, sizeof(rzl_mrg_info), false},
                                 {2000, sizeof(rzl_map_info), false}};

// A value that keeps the run within its time.
int32_t within_reason(int32_t id, int32_t value) {
    switch (id) {
    case RZL_FIELD_XSIZE:
    case RZL_FIELD_YSIZE: return value <= MOST_SIDE ? value : value % MOST_SIDE;
    case RZL_FIELD_TILE_WIDTH:
    case RZL_FIELD_TILE_HEIGHT: return value <= 512 ? value : value % 512;
    case RZL_FIELD_VLT_ENTRIES:
    case RZL_FIELD_TARGA_MAP_LENGTH:
    case RZL_FIELD_PACKET_WORDS: return std::min(value, static_cast<int32_t>(MOST_TABLE));
    default: return value;
    }
}

void set_integer(driver* d, int32_t id, int32_t value) {
    exact buffer = make_exact(sizeof value);
    value = within_reason(id, value);
    std::memcpy(buffer.data(), &value, sizeof value);
    int result = rzl_set_hdr_data(d->at->file, id, buffer.data());
    expect(d->at->file, result);
    bool targa = value_of(d->at->file, RZL_FIELD_STANDARD) == RZL_STANDARD_TARGA;
    bool entries = id == RZL_FIELD_VLT_ENTRIES || (targa && id == RZL_FIELD_TARGA_MAP_LENGTH);
    if (entries) note_entries(d->at, result, value);
    if (id == RZL_FIELD_STANDARD) d->at->wanted_entries = -1; // all fields begin anew
    // A table of a TARGA file begins with slot 0, whatever the first one in the file is.
    if (targa && id == RZL_FIELD_TARGA_MAP_FIRST) d->at->first_entry = std::max(d->at->first_entry, value);
}

void call_set_integer(driver* d) {
    int32_t id = pick(d->from, INTEGERS);
    if (id == RZL_FIELD_STANDARD && !chance(d->from, 8)) return; // most set it first
    set_integer(d, id, number(d->from));
}

void call_set_sized(driver* d) {
    const sized_field& f = SIZED[below(d->from, static_cast<uint32_t>(std::size(SIZED)))];
    exact buffer = make_filled(d->from, f.bytes);
    for (size_t i = 0; f.is_real && i < f.bytes; i += sizeof(double)) {
        double value = real(d->from);
        std::memcpy(buffer.data() + i, &value, sizeof value);
    }
    expect(d->at->file, rzl_set_hdr_data(d->at->file, f.id, buffer.data()));
}

void call_get_integer(driver* d) {
    exact buffer = make_exact(sizeof(int32_t));
    (void)rzl_get_hdr_data(d->at->file, pick(d->from, INTEGERS), buffer.data());
}

void call_get_sized(driver* d) {
    const sized_field& f = SIZED[below(d->from, static_cast<uint32_t>(std::size(SIZED)))];
    exact buffer = make_exact(f.bytes);
    (void)rzl_get_hdr_data(d->at->file, f.id, buffer.data());
}

void call_tile_directory(driver* d) {
    CFILE* c = d->at->file;
    int64_t tiles = int64_t{value_of(c, RZL_FIELD_TILES_ACROSS)} * value_of(c, RZL_FIELD_TILES_DOWN);
    if (tiles < 0 || tiles > 1 << 16) return;
    exact buffer = make_exact(static_cast<size_t>(std::max<int64_t>(tiles, 1)) * sizeof(int32_t));
    (void)rzl_get_hdr_data(c, RZL_FIELD_TILE_DIRECTORY, buffer.data());
}

void call_user_tag(driver* d) {
    static constexpr uint16_t TAGS[] = {0,   254, 256, 257, 258,   259,   262,   266,   269,   270,  273,
                                        277, 278, 279, 282, 296,   305,   317,   320,   322,   324,  325,
                                        338, 347, 530, 700, 32768, 33550, 34735, 42112, 65000, 65535};
    static constexpr size_t SIZES[] = {1, 1, 1, 2, 4, 8};
    rzl_user_tag tag = {};
    tag.tag = pick(d->from, TAGS);
    tag.type = static_cast<uint16_t>(below(d->from, 8));
    tag.count = chance(d->from, 8) ? 1u << below(d->from, 32) : below(d->from, 20);
    size_t bytes = SIZES[std::min<size_t>(tag.type, 5)] * tag.count;
    bool set = chance(d->from, 2);
    if (bytes > 4096) {
        // A count that nobody has the memory for may be asked about, not given.
        if (set) return;
        bytes = 4;
    }
    exact buffer;
    if (set) {
        buffer = make_filled(d->from, bytes);
        if (bytes > 4)
            tag.data.pointer = buffer.data();
        else
            std::memcpy(tag.data.bytes, buffer.data(), bytes);
        expect(d->at->file, rzl_set_hdr_data(d->at->file, RZL_FIELD_USER_TAG, &tag));
        return;
    }
    // Type and count first, then the value into a buffer of that size.
    (void)rzl_get_hdr_data(d->at->file, RZL_FIELD_USER_TAG, &tag);
    bytes = SIZES[std::min<size_t>(tag.type, 5)] * tag.count;
    if (bytes > 1 << 20) return;
    buffer = make_exact(bytes);
    tag.data.pointer = buffer.data();
    (void)rzl_get_hdr_data(d->at->file, RZL_FIELD_USER_TAG, &tag);
}

// Changes a text of the record somewhere, keeping its length.
void change_text(chooser* from, char* texts, size_t size) {
    static constexpr char LETTERS[] = "0123456789 AZaz-+./~NBMULTI";
    char* at = texts + below(from, static_cast<uint32_t>(size));
    if (*at != '\0') *at = LETTERS[below(from, sizeof LETTERS - 1)];
}

// The record of a NITF file, from this handle or the other, back into this one as it is or changed.
void call_nitf_record(driver* d) {
    CFILE* source = chance(d->from, 2) && d->other->file != nullptr ? d->other->file : d->at->file;
    if (value_of(source, RZL_FIELD_STANDARD) != RZL_STANDARD_NITF) return;
    const rzl_nitf_header* record = nullptr;
    if (rzl_get_hdr_data(source, RZL_FIELD_NITF, static_cast<void*>(&record)) != 0 || record == nullptr) return;
    rzl_nitf_header copy = *record;
    std::vector<rzl_nitf_image> images;
    if (record->image_count > 0 && record->images != nullptr)
        images.assign(record->images, record->images + record->image_count);
    copy.images = images.data();
    for (uint32_t i = below(d->from, 4); i > 0; --i) {
        change_text(d->from, copy.type_and_version, offsetof(rzl_nitf_header, image_count));
        if (!images.empty()) change_text(d->from, images[0].part_type, offsetof(rzl_nitf_image, bands));
    }
    const rzl_nitf_header* given = chance(d->from, 4) ? record : &copy;
    expect(d->at->file, rzl_set_hdr_data(d->at->file, RZL_FIELD_NITF, static_cast<const void*>(&given)));
}

void call_usgs_records(driver* d) {
    constexpr size_t RECORD = 400;
    plane_set set = make_planes(d->from, 4, RECORD);
    rzl_usgs_records records = {};
    for (size_t i = 0; i < 4; ++i)
        records.records[i] = static_cast<char*>(set.at(i));
    if (value_of(d->at->file, RZL_FIELD_STANDARD) != RZL_STANDARD_USGS) return;
    if (rzl_get_hdr_data(d->at->file, RZL_FIELD_USGS, &records) != 0) return;
    if (records.records[0] != nullptr)
        records.records[0][below(d->from, RECORD)] = static_cast<char>(one_byte(d->from));
    expect(d->at->file, rzl_set_hdr_data(d->at->file, RZL_FIELD_USGS, &records));
}

void call_stat(driver* d) {
    CFILE* c = d->at->file;
    auto record = std::make_unique<rzl_stat>();
    int result = rzl_get_stat(c, record.get());
    expect(c, result);
    if (result != 0 || chance(d->from, 2)) return;
    if (chance(d->from, 2)) {
        int32_t value = number(d->from);
        uint32_t member = below(d->from, 19);
        if (member < 2) value = within_reason(RZL_FIELD_XSIZE, value);
        if (member >= 8) value = within_reason(RZL_FIELD_TILE_WIDTH, value);
        auto* members = reinterpret_cast<uint8_t*>(record.get());
        std::memcpy(members + member * sizeof value, &value, sizeof value);
    }
    result = rzl_set_stat(c, record.get());
    expect(c, result);
    // A count of none, or for a file without a table, may leave the count as it was not set.
    bool counts = record->vlt_type != 0 && record->vlt_entries > 0;
    if (counts || d->at->wanted_entries >= 0) note_entries(d->at, result, record->vlt_entries);
}

void call_write_header(driver* d) {
    expect(d->at->file, rzl_write_header(d->at->file));
}

void call_put_table(driver* d) {
    if (!chance(d->from, 8)) return give_table(d);
    if (rzl_put_vlt(d->at->file, nullptr) == 0) d->at->table_entries = -1;
}

void call_get_table(driver* d) {
    int32_t entries = value_of(d->at->file, RZL_FIELD_VLT_ENTRIES);
    if (entries > 1 << 17) return;
    exact table = make_exact(static_cast<size_t>(std::max(entries, 256)) * sizeof(rzl_vlt_entry));
    expect(d->at->file, rzl_get_vlt(d->at->file, reinterpret_cast<rzl_vlt_entry*>(table.data())));
}

void call_put_packet(driver* d) {
    give_packets(d);
}

void call_get_packet(driver* d) {
    int32_t words = value_of(d->at->file, RZL_FIELD_PACKET_WORDS);
    if (words < 0 || words > 1 << 20) return;
    exact buffer = make_exact(static_cast<size_t>(words) * 2);
    expect(d->at->file, rzl_get_packet(d->at->file, buffer.data()));
}

// ---- lines ----------------------------------------------------------------------------------------------------------

// The room of a plane for the lines of a call.
size_t plane_room(driver* d) {
    return rzl_line_size(d->at->file);
}

size_t room_of_16(driver* d) {
    return std::max(plane_room(d), static_cast<size_t>(std::max(value_of(d->at->file, RZL_FIELD_XSIZE), 0)) * 2);
}

// How often a call is repeated: once, some times, or to the end of the image.
uint32_t times(driver* d) {
    uint32_t choice = one_byte(d->from);
    if (choice < 128) return 1;
    if (choice < 200) return choice - 128;
    return static_cast<uint32_t>(std::clamp(value_of(d->at->file, RZL_FIELD_YSIZE), 1, MOST_SIDE));
}

template <typename Call> void repeat(driver* d, Call call) {
    int result = 0;
    for (uint32_t left = times(d); left > 0 && result == 0; --left) {
        result = call(d->at->file);
        expect(d->at->file, result);
    }
}

int channel_count(driver* d) {
    static constexpr int COUNTS[] = {0, 1, 1, 2, 3, 3, 3, 4, 4, 5, 9, -1};
    return pick(d->from, COUNTS);
}

void call_getline(driver* d) {
    exact line = make_exact(plane_room(d));
    void* buffer = chance(d->from, 16) ? nullptr : line.data();
    repeat(d, [&](CFILE* c) { return rzl_getline(c, buffer); });
}

void call_getline3(driver* d) {
    plane_set set = make_planes(d->from, 3, plane_room(d));
    repeat(d, [&](CFILE* c) { return rzl_getline3(c, set.at(0), set.at(1), set.at(2)); });
}

void call_getline_channels(driver* d) {
    plane_set set = make_planes(d->from, channel_count(d), plane_room(d));
    repeat(d, [&](CFILE* c) { return rzl_getline_channels(c, set.channels, set.all()); });
}

void call_getline16(driver* d) {
    exact line = make_exact(room_of_16(d));
    repeat(d, [&](CFILE* c) { return rzl_getline16(c, reinterpret_cast<uint16_t*>(line.data())); });
}

void call_getline_interleaved(driver* d) {
    exact line = make_exact(rzl_interleaved_size(d->at->file));
    repeat(d, [&](CFILE* c) { return rzl_getline_interleaved(c, line.data()); });
}

// A buffer that is too small first, as often as not, and then one of the size that was told.
template <typename Call> void get_coded(driver* d, Call call) {
    auto size = static_cast<int32_t>(below(d->from, 3000));
    for (int tries = 0; tries < 3 && size <= MOST_TILE_BYTES; ++tries) {
        exact buffer = make_exact(static_cast<size_t>(size));
        int32_t told = size;
        int result = call(d->at->file, buffer.data(), &told);
        expect(d->at->file, result);
        demand(result != 0 || (told >= 0 && told <= size));
        if (result == 0 || value_of(d->at->file, RZL_FIELD_STATUS) != static_cast<int32_t>(RZL_RLE_BUFFER_SMALL)) break;
        size = std::max(told, 0);
    }
}

void call_get_rle_line(driver* d) {
    get_coded(d, [](CFILE* c, void* buffer, int32_t* size) { return rzl_get_rle_line(c, buffer, size); });
}

void call_get_rle_strip(driver* d) {
    get_coded(d, [](CFILE* c, void* buffer, int32_t* size) { return rzl_get_rle_strip(c, buffer, size); });
}

void call_putline(driver* d) {
    exact line = make_filled(d->from, plane_room(d));
    repeat(d, [&](CFILE* c) { return rzl_putline(c, line.data()); });
}

void call_putline3(driver* d) {
    plane_set set = make_planes(d->from, 3, plane_room(d));
    repeat(d, [&](CFILE* c) { return rzl_putline3(c, set.at(0), set.at(1), set.at(2)); });
}

void call_putline_channels(driver* d) {
    plane_set set = make_planes(d->from, channel_count(d), plane_room(d));
    repeat(d, [&](CFILE* c) { return rzl_putline_channels(c, set.channels, set.all_const()); });
}

void call_putline16(driver* d) {
    exact line = make_filled(d->from, room_of_16(d));
    repeat(d, [&](CFILE* c) { return rzl_putline16(c, reinterpret_cast<const uint16_t*>(line.data())); });
}

void call_putline_interleaved(driver* d) {
    exact line = make_filled(d->from, rzl_interleaved_size(d->at->file));
    repeat(d, [&](CFILE* c) { return rzl_putline_interleaved(c, line.data()); });
}

// Coding to be put: bytes as they come, runs of bilevel lines that fill the line, or what the other handle's next line
// is.
exact make_coding(driver* d) {
    int32_t width = value_of(d->at->file, RZL_FIELD_XSIZE);
    std::vector<uint8_t> coding;
    switch (below(d->from, 3)) {
    case 0:
        for (uint32_t left = below(d->from, 40); left > 0; --left)
            coding.push_back(one_byte(d->from));
        break;
    case 1:
        for (int32_t x = 0, runs = 0; x < width || runs % 2 == 0; ++runs) {
            auto run = static_cast<int32_t>(one_byte(d->from) % 64);
            if (run == 0 || run > width - x) run = width - x;
            coding.push_back(static_cast<uint8_t>(run));
            coding.push_back(static_cast<uint8_t>(run >> 8));
            x += run;
        }
        break;
    default: {
        auto size = int32_t{2048};
        coding.resize(static_cast<size_t>(size));
        CFILE* source = d->other->file != nullptr ? d->other->file : d->at->file;
        if (rzl_get_rle_line(source, coding.data(), &size) != 0) size = 8;
        coding.resize(static_cast<size_t>(size));
    }
    }
    exact buffer = make_exact(coding.size());
    std::copy(coding.begin(), coding.end(), buffer.data());
    return buffer;
}

void call_put_rle_line(driver* d) {
    exact coding = make_coding(d);
    auto size = static_cast<int32_t>(coding.size);
    repeat(d, [&](CFILE* c) { return rzl_put_rle_line(c, coding.data(), size); });
}

void call_seek(driver* d) {
    int32_t line = chance(d->from, 4) ? number(d->from) : static_cast<int32_t>(below(d->from, 64));
    expect(d->at->file, rzl_seek(d->at->file, line));
}

void call_rewind(driver* d) {
    expect(d->at->file, rzl_rewind(d->at->file));
}

void call_randomize(driver* d) {
    expect(d->at->file, rzl_randomize(d->at->file));
}

void call_set_squetch(driver* d) {
    auto width = static_cast<int32_t>(below(d->from, 200));
    auto height = static_cast<int32_t>(below(d->from, 200));
    uint32_t flags = below(d->from, 8);
    expect(d->at->file, rzl_set_squetch(d->at->file, width, height, flags));
    d->at->resampled = true;
}

void call_clear_squetch(driver* d) {
    int result = rzl_clear_squetch(d->at->file);
    expect(d->at->file, result);
    if (result == 0) d->at->resampled = false;
}

// ---- tiles ----------------------------------------------------------------------------------------------------------

// Bytes of a plane of a tile, which is as many lines as the tile is high, of its width: depth by depth as a line of the
// image is. 0 when it is more than is worth it.
size_t tile_room(driver* d, int channels, bool wide) {
    CFILE* c = d->at->file;
    int64_t width = std::max(value_of(c, RZL_FIELD_TILE_WIDTH), 0);
    int64_t height = std::max(value_of(c, RZL_FIELD_TILE_HEIGHT), 0);
    int64_t pixels = std::max(value_of(c, RZL_FIELD_XSIZE), 1);
    int32_t format = value_of(c, RZL_FIELD_FORMAT);
    bool bilevel = format == RZL_FORMAT_BILEVEL || format == RZL_FORMAT_BILEVEL_RUNS || format == RZL_FORMAT_GROUP3 ||
                   format == RZL_FORMAT_GROUP4;
    int64_t depth = std::max<int64_t>(static_cast<int64_t>(rzl_line_size(c)) / pixels, wide ? 2 : 1);
    if (d->at->resampled) depth = 16; // the line's size is another's
    int64_t line = bilevel ? (width + 15) / 16 * 2 : width * depth;
    if (bilevel && (channels != 1 || wide)) line = std::max(line, width * (wide ? 2 : 1));
    if (width > 1 << 16 || height > 1 << 16 || line * height > MOST_TILE_BYTES) return 0;
    return static_cast<size_t>(line * height);
}

template <typename Call> void with_tile(driver* d, bool wide, Call call) {
    int channels = channel_count(d);
    size_t room = tile_room(d, channels, wide);
    if (room == 0) channels = 0;
    plane_set set = make_planes(d->from, channels, room);
    repeat(d, [&](CFILE* c) { return call(c, set); });
}

void call_gettile(driver* d) {
    auto uniform = std::make_unique<int32_t>();
    int32_t* told = chance(d->from, 2) ? uniform.get() : nullptr;
    with_tile(d, false, [&](CFILE* c, const plane_set& set) { return rzl_gettile(c, set.channels, set.all(), told); });
}

void call_gettile16(driver* d) {
    auto uniform = std::make_unique<int32_t>();
    int32_t* told = chance(d->from, 2) ? uniform.get() : nullptr;
    with_tile(d, true, [&](CFILE* c, const plane_set& set) { return rzl_gettile16(c, set.channels, set.all(), told); });
}

void call_puttile(driver* d) {
    with_tile(d, false, [](CFILE* c, const plane_set& set) { return rzl_puttile(c, set.channels, set.all_const()); });
}

void call_puttile16(driver* d) {
    with_tile(d, true, [](CFILE* c, const plane_set& set) { return rzl_puttile16(c, set.channels, set.all_const()); });
}

void call_get_rle_tile(driver* d) {
    int32_t uniform = 0;
    get_coded(d, [&](CFILE* c, void* buffer, int32_t* size) { return rzl_get_rle_tile(c, buffer, size, &uniform); });
}

void call_put_rle_tile(driver* d) {
    exact coding = make_coding(d);
    auto size = static_cast<int32_t>(coding.size);
    repeat(d, [&](CFILE* c) { return rzl_put_rle_tile(c, coding.data(), size); });
}

// ---- images, and the other handle -----------------------------------------------------------------------------------

void call_overview(driver* d) {
    auto overview = static_cast<int32_t>(below(d->from, 6)) - 1;
    expect(d->at->file, rzl_set_active_overview(d->at->file, overview));
}

void call_image(driver* d) {
    auto image = static_cast<int32_t>(below(d->from, 6)) - 1;
    expect(d->at->file, rzl_set_active_image(d->at->file, image));
}

void call_init_header(driver* d) {
    if (d->other->file == nullptr || !image_is_small(d->other->file)) return;
    note_entries(d->at, 1, entries_of(d->other)); // which the file may take, or not
    (void)rzl_init_header_from(d->other->file, d->at->file);
}

void call_init_overviews(driver* d) {
    if (d->other->file != nullptr) (void)rzl_init_overviews_from(d->other->file, d->at->file);
}

void call_copy_data(driver* d) {
    if (d->other->file != nullptr && image_is_small(d->other->file)) (void)rzl_copy_data(d->other->file, d->at->file);
}

void call_questions(driver* d) {
    CFILE* c = d->at->file;
    demand(rzl_is_damaged(c) == 0 || rzl_is_damaged(c) == 1);
    demand(rzl_is_line_damaged(c) == 0 || rzl_is_line_damaged(c) == 1);
    demand(rzl_lines_held(c) >= 0);
    (void)rzl_line_order(c);
    (void)rzl_status_detail();
}

// The next call is the last that has the memory, or the disk, for what it does.
void call_fail(driver* d) {
    auto count = static_cast<long>(below(d->from, 24));
    if (chance(d->from, 2))
        mem_fail_after(count, mem_fail::once);
    else
        files_fail_after(count, files_fail::once);
}

// ---- opening and closing --------------------------------------------------------------------------------------------

void close_slot(slot* s) {
    if (s->file == nullptr) return;
    bool freed = s->record != nullptr && (s->record->owned & 1) != 0;
    (void)rzl_finish(s->file);
    if (freed) s->record = nullptr;
    s->file = nullptr;
    s->given.clear();
    s->table_entries = s->packet_words = -1;
    s->wanted_entries = -1;
    s->first_entry = 0;
}

void new_record(slot* s, int32_t used) {
    if (s->record == nullptr) s->record = static_cast<rzl_memfile*>(std::malloc(sizeof *s->record));
    demand(s->record != nullptr);
    *s->record = {s->block.data(), static_cast<int32_t>(s->block.size), 0, 0, used, 0};
}

// A place for a new file: in memory of some size, or on disk.
void new_place(chooser* from, slot* s) {
    uint32_t choice = one_byte(from);
    std::free(s->record);
    s->record = nullptr;
    s->block = exact{};
    std::remove(s->path.c_str());
    if (choice < 64) return;
    s->block = make_exact(choice < 96 ? choice * 8 : static_cast<size_t>(MOST_BLOCK));
    new_record(s, 0);
}

// The file that was made, in a block of its own size.
void cut_block(slot* s) {
    if (s->record == nullptr || s->record->used <= 0 || s->record->used > s->record->length) return;
    int32_t used = s->record->used;
    exact cut = make_exact(static_cast<size_t>(used));
    std::copy_n(s->block.data(), used, cut.data());
    s->block = std::move(cut);
    new_record(s, used);
}

CFILE* open_as(slot* s, uint32_t mode) {
    char name[32];
    const char* what = s->path.c_str();
    if (s->block.size > 0) {
        if (s->record == nullptr) new_record(s, 0);
        demand(rzl_memfile_name(s->record, name, sizeof name) == 0);
        what = name;
    }
    s->writable = mode != 0;
    s->resampled = false;
    switch (mode) {
    case 0: return rzl_open_r(what);
    case 1: return rzl_open_rw(what);
    case 2: return rzl_open_w(what);
    default: return rzl_open_wr(what);
    }
}

int32_t standard_of(chooser* from) {
    static constexpr int32_t STANDARDS[] = {0,  0,  1,  1,  2,  2,  3,  4,  5,  6,  8,  9,  10,
                                            11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23};
    static const char* const wanted = std::getenv("FUZZ_API_STANDARD");
    int32_t id = pick(from, STANDARDS);
    return wanted != nullptr ? std::atoi(wanted) : id;
}

// The fields of a picture that most files begin with.
void choose_picture(driver* d) {
    static constexpr int32_t FORMATS[] = {1,  2,  3,  9,  10, 23, 24, 25, 26, 27, 28,
                                          29, 30, 31, 67, 69, 4,  5,  6,  7,  8,  65};
    chooser* from = d->from;
    set_integer(d, RZL_FIELD_STANDARD, standard_of(from));
    uint32_t wishes = one_byte(from); // a bit for each kind of field
    if (chance(from, 16)) return;
    set_integer(d, RZL_FIELD_FORMAT, pick(from, FORMATS));
    set_integer(d, RZL_FIELD_XSIZE, 1 + static_cast<int32_t>(below(from, 90)));
    set_integer(d, RZL_FIELD_YSIZE, 1 + static_cast<int32_t>(below(from, 60)));
    static constexpr int32_t SIDES[] = {16, 32, 64, 48, 512, 8, 1};
    static constexpr int32_t CODINGS[] = {0, 1, 2, 3, 4, 5, 7, 8, 32773, 32946};
    static constexpr int32_t ORIENTATIONS[] = {4, 5, 6, 7, 0, 1, 2, 3};
    if ((wishes & 1) != 0) set_integer(d, RZL_FIELD_TILE_WIDTH, pick(from, SIDES));
    if ((wishes & 2) != 0) set_integer(d, RZL_FIELD_OVERVIEWS, 1 + static_cast<int32_t>(below(from, 3)));
    if ((wishes & 4) != 0) set_integer(d, RZL_FIELD_IMAGES, 1 + static_cast<int32_t>(below(from, 3)));
    if ((wishes & 8) != 0) set_integer(d, RZL_FIELD_COMPRESSION, pick(from, CODINGS));
    if ((wishes & 16) != 0) set_integer(d, RZL_FIELD_PLANAR, 1 + static_cast<int32_t>(below(from, 2)));
    if ((wishes & 32) != 0) set_integer(d, RZL_FIELD_ORIENTATION, pick(from, ORIENTATIONS));
    if ((wishes & 64) != 0) {
        static constexpr int32_t ENTRIES[] = {2, 3, 4, 16, 17, 256};
        set_integer(d, RZL_FIELD_VLT_TYPE, 1 + static_cast<int32_t>(below(from, 2)));
        set_integer(d, RZL_FIELD_VLT_ENTRIES, pick(from, ENTRIES));
        give_table(d);
    }
    if ((wishes & 128) != 0) {
        set_integer(d, RZL_FIELD_PACKET_WORDS, 1 + static_cast<int32_t>(below(from, 300)));
        give_packets(d);
    }
}

// Closes what is open and opens something else: as often as not what was just made.
void call_reopen(driver* d) {
    slot* s = d->at;
    close_slot(s);
    uint32_t choice = one_byte(d->from);
    uint32_t mode = choice & 3;
    rzl_set_extended((choice & 4) != 0 ? 1 : 0);
    if (mode >= 2) new_place(d->from, s);
    if (mode < 2 && (choice & 8) != 0) cut_block(s);
    if (s->record != nullptr && (choice & 16) != 0) s->record->owned = 1;
    bool owned = s->record != nullptr && s->record->owned != 0;
    s->file = open_as(s, mode);
    if (s->file == nullptr && owned) s->record->owned = 0; // it was not closed
    if (s->file != nullptr && mode >= 2 && (choice & 224) != 0) choose_picture(d);
}

using call = void (*)(driver* d);
constexpr call CALLS[] = {
    call_set_integer,
    call_set_integer,
    call_set_sized,
    call_get_integer,
    call_get_sized,
    call_tile_directory,
    call_user_tag,
    call_nitf_record,
    call_usgs_records,
    call_stat,
    call_write_header,
    call_put_table,
    call_get_table,
    call_put_packet,
    call_get_packet,
    call_getline,
    call_getline3,
    call_getline_channels,
    call_getline16,
    call_getline_interleaved,
    call_get_rle_line,
    call_get_rle_strip,
    call_putline,
    call_putline3,
    call_putline_channels,
    call_putline16,
    call_putline_interleaved,
    call_put_rle_line,
    call_seek,
    call_rewind,
    call_randomize,
    call_set_squetch,
    call_clear_squetch,
    call_gettile,
    call_gettile16,
    call_puttile,
    call_puttile16,
    call_get_rle_tile,
    call_put_rle_tile,
    call_overview,
    call_image,
    call_init_header,
    call_init_overviews,
    call_copy_data,
    call_questions,
    call_fail,
    call_reopen,
    call_reopen,
};

constexpr auto CALL_COUNT = static_cast<uint32_t>(std::size(CALLS));

// One call on one of the handles, with the other to copy from.
void step(driver* d) {
    uint32_t choice = one_byte(d->from);
    if (choice % 2 != 0) std::swap(d->at, d->other);
    uint32_t which = below(d->from, CALL_COUNT);
    bool failing = false;
    if (d->at->file == nullptr) {
        call_reopen(d);
    } else if (CALLS[which] == call_fail) {
        call_fail(d);
        failing = true;
        which = below(d->from, CALL_COUNT);
    }
    if (d->at->file == nullptr) return;
    if (!image_is_small(d->at->file)) {
        // Lines that are missing would be made up at the end, and take their time.
        if (!failing) close_slot(d->at);
    } else {
        CALLS[which](d);
    }
    (void)mem_fail_stop();
    (void)files_fail_stop();
    keep_promises(d);
}

std::string directory() {
    static const std::string path = "/tmp/fuzz_api_" + std::to_string(getpid());
    return path;
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::error_code error;
    std::filesystem::create_directory(directory(), error);
    slot slots[2];
    slots[0].path = directory() + "/a.img";
    slots[1].path = directory() + "/b.img";
    chooser from = {data, data + size};
    driver d = {&from, &slots[0], &slots[1]};
    for (int i = 0; i < MOST_CALLS && !is_empty(&from); ++i)
        step(&d);
    for (slot& s : slots) {
        close_slot(&s);
        std::free(s.record);
    }
    rzl_set_extended(0);
    std::filesystem::remove_all(directory(), error);
    return 0;
}
