// ASRP and USRP map sets: the texts of the description files. Numbers have fixed widths; separators between them are
// passed over wherever they stand.
#include <algorithm>
#include <cstring>

#include "raster/ADRG/asrp.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "asrp/asropen";
constexpr size_t ID_WIDTH = 5;
constexpr size_t COUNT_WIDTH = 3;
constexpr size_t COLORS = 256;

int refuse_set(CFILE* c, const char* detail, int line = __builtin_LINE()) {
    return refuse(c, RZL_READ_FAILED, SOURCE, detail, line);
}

// A text that is taken apart. `good` stays false once a part was missing or no number.
struct field_text {
    const char* next;
    const char* end;
    bool good;
};

void pass_separators(field_text* t) {
    while (t->next != t->end && iso_is_separator(static_cast<uint8_t>(*t->next)))
        ++t->next;
}

// The next characters, behind separators; null, and nothing more, when they are not there.
const char* take_text(field_text* t, size_t width) {
    pass_separators(t);
    if (static_cast<size_t>(t->end - t->next) < width) {
        t->good = false;
        t->next = t->end;
        return nullptr;
    }
    const char* text = t->next;
    t->next += width;
    return text;
}

char take_letter(field_text* t) {
    const char* text = take_text(t, 1);
    return text != nullptr ? *text : '\0';
}

int64_t take_integer(field_text* t, size_t width) {
    int64_t value = 0;
    const char* text = take_text(t, width);
    if (text != nullptr && !text_integer(text, width, &value)) t->good = false;
    return value;
}

// What tells of the map only is 0 when it is no number.
double take_number(field_text* t, size_t width) {
    double value = 0;
    const char* text = take_text(t, width);
    if (text != nullptr) (void)text_number(text, width, &value);
    return value;
}

void copy_trimmed(const char* text, size_t width, char* out) {
    while (width > 0 && is_blank(text[width - 1]))
        --width;
    std::memcpy(out, text, width);
}

// ---- the record of an image

void take_place(field_text* t, asrp_spec* spec) {
    constexpr size_t DEGREES_WIDTH = 10;
    rzl_map_info map = {};
    (void)take_text(t, ID_WIDTH);
    (void)take_text(t, 4); // the type
    size_t name_width = spec->usrp ? 6 : 8;
    const char* name = take_text(t, name_width);
    if (name != nullptr) copy_trimmed(name, name_width, map.title);
    for (double& corner : map.corners)
        corner = take_number(t, DEGREES_WIDTH);
    map.corner_count = 4;
    map.scale = take_number(t, 9);
    (void)take_text(t, 5);
    (void)take_letter(t);
    for (int i = 0; i < 2; ++i)
        (void)take_number(t, DEGREES_WIDTH);
    spec->map = map;
}

// A digit of those that the coding can have.
int32_t take_bits(field_text* t) {
    char letter = take_letter(t);
    if (letter != '0' && letter != '4' && letter != '8') t->good = false;
    return letter - '0';
}

// Everything in front of the tile map. False when a part is missing or no number. *mapped: a map follows.
bool take_image(field_text* t, asrp_spec* spec, bool* mapped) {
    take_place(t, spec);
    for (int i = 0; i < 4; ++i)
        (void)take_number(t, 6);
    spec->row_blocks = static_cast<int32_t>(take_integer(t, COUNT_WIDTH));
    spec->column_blocks = static_cast<int32_t>(take_integer(t, COUNT_WIDTH));
    spec->tile_width = static_cast<int32_t>(take_integer(t, COUNT_WIDTH));
    spec->tile_height = static_cast<int32_t>(take_integer(t, COUNT_WIDTH));
    for (int i = 0; i < 3; ++i)
        (void)take_letter(t);
    spec->run_bits = take_bits(t);
    spec->value_bits = take_bits(t);
    const char* name = take_text(t, sizeof spec->image_name);
    if (name != nullptr) std::memcpy(spec->image_name, name, sizeof spec->image_name);
    *mapped = take_letter(t) == 'Y';
    for (int i = 0; i < 2; ++i)
        (void)take_number(t, 5);
    return t->good;
}

int take_map(CFILE* c, field_text* t, asrp_spec* spec, bool mapped) {
    constexpr size_t ENTRY_WIDTH = 10;
    if (spec->row_blocks < 1 || spec->column_blocks < 1 || spec->tile_width < 1 || spec->tile_height < 1)
        return refuse(c, RZL_NOT_STANDARD, SOURCE, "tile size");
    auto count = static_cast<size_t>(spec->row_blocks) * static_cast<size_t>(spec->column_blocks);
    bool there = !mapped || count <= static_cast<size_t>(t->end - t->next) / ENTRY_WIDTH;
    if (!there) return refuse_set(c, "tile map");
    spec->tile_map = mem_new_array<int64_t>(count);
    if (spec->tile_map == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, "tile map");
    for (size_t i = 0; i < count; ++i)
        spec->tile_map[i] = mapped ? take_integer(t, ENTRY_WIDTH) : static_cast<int64_t>(i) + 1;
    return t->good ? 0 : refuse_set(c, "tile map");
}

// The records of a description file, from the one behind `place` on, in memory.
struct record_block {
    const uint8_t* bytes;
    size_t size;
};

// The fields of the record at `at`, and the record behind it, where *next ends at the block's size. False: there is
// none.
bool fields_of(const record_block& block, size_t at, field_text* fields, size_t* next) {
    uint64_t length = 0;
    uint64_t base = 0;
    if (at >= block.size || block.size - at < ISO_LEADER) return false;
    const char* record = reinterpret_cast<const char*>(block.bytes) + at;
    bool good = text_digits(record, 5, &length) && text_digits(record + 12, 5, &base) && base >= ISO_LEADER &&
                base <= block.size - at;
    // A length of 0 is one that five digits do not hold.
    *next = length >= ISO_LEADER ? at + static_cast<size_t>(length) : block.size;
    if (good) *fields = {record + base, reinterpret_cast<const char*>(block.bytes) + block.size, true};
    return good;
}

// The image whose name is in the file's; of images, not of legends, the first when none is.
int find_image(CFILE* c, const record_block& block, const set_name& name) {
    asrp_spec* spec = asrp_spec_of(c);
    size_t next = 0;
    for (size_t at = 0;; at = next) {
        field_text t;
        bool mapped = false;
        if (!fields_of(block, at, &t, &next)) break;
        if (!take_image(&t, spec, &mapped)) return refuse_set(c, "image record");
        if (set_name_has(name, spec->image_name, sizeof spec->image_name)) return take_map(c, &t, spec, mapped);
    }
    if (name.part != set_part::image) return refuse_set(c, "no such legend");
    field_text t;
    bool mapped = false;
    bool first = fields_of(block, 0, &t, &next) && take_image(&t, spec, &mapped);
    return first ? take_map(c, &t, spec, mapped) : refuse_set(c, "image record");
}

// ---- colours

// An index, a name that ends at a separator, and three values.
bool take_color(CFILE* c, field_text* t, asrp_spec* spec) {
    pass_separators(t);
    uint64_t index = 0;
    if (static_cast<size_t>(t->end - t->next) < COUNT_WIDTH || !text_digits(t->next, COUNT_WIDTH, &index)) return false;
    t->next += COUNT_WIDTH;
    pass_separators(t);
    while (t->next != t->end && *t->next != static_cast<char>(ISO_PART_END))
        ++t->next;
    if (index >= COLORS) t->good = false;
    for (size_t i = 0; i < 3 && t->good; ++i) {
        int64_t value = take_integer(t, COUNT_WIDTH);
        t->good = t->good && value >= 0 && value <= UINT8_MAX;
        if (t->good) c->color_table[index * 3 + i] = static_cast<uint8_t>(value);
    }
    if (t->good) spec->color_count = static_cast<int32_t>(index) + 1;
    return t->good;
}

// The record's colours, up to its end.
bool take_colors(CFILE* c, field_text* t, asrp_spec* spec) {
    (void)take_text(t, ID_WIDTH);
    while (t->good && take_color(c, t, spec)) {
    }
    return t->good;
}

// What follows from `place` to the end of the file.
uint8_t* read_rest(CFILE* c, int64_t place, size_t* size) {
    int64_t left = io_size(c) - place;
    if (left < 0 || !io_seek(c, place)) {
        fail(c, RZL_READ_FAILED, SOURCE, nullptr);
        return nullptr;
    }
    *size = static_cast<size_t>(left);
    return io_read_block(c, *size, 0, SOURCE, nullptr);
}

} // namespace

int asrp_read_description(CFILE* c, const set_name& name) {
    constexpr uint8_t ASRP_SIZES[3] = {'4', '4', '3'};
    constexpr uint8_t ASRP_OTHER_SIZES[3] = {'5', '4', '3'};
    constexpr uint8_t USRP_SIZES[3] = {'3', '3', '3'};
    iso_leader leader;
    bool first = iso_read_leader(c, 0, &leader) && std::memcmp(leader.mark, "2L   ", sizeof leader.mark) == 0;
    if (!first) return refuse_set(c, "first record");
    auto has_sizes = [&leader](const uint8_t* sizes) { return std::memcmp(leader.sizes, sizes, 3) == 0; };
    bool known = has_sizes(ASRP_SIZES) || has_sizes(ASRP_OTHER_SIZES) || has_sizes(USRP_SIZES);
    if (!known) return refuse(c, RZL_NOT_STANDARD_2, SOURCE, "first record");
    asrp_spec_of(c)->usrp = has_sizes(USRP_SIZES);
    int64_t place = 0;
    for (int i = 0; i < 2; ++i) {
        bool data = iso_skip_records(c, &place, 1) && iso_read_leader(c, place, &leader) &&
                    std::memcmp(leader.mark, " D   ", sizeof leader.mark) == 0;
        if (!data) return refuse_set(c, "data record");
    }
    size_t size = 0;
    mem_guard<uint8_t> rest(read_rest(c, place, &size));
    return rest ? find_image(c, {rest.get(), size}, name) : 1;
}

int asrp_read_colors(CFILE* c) {
    asrp_spec* spec = asrp_spec_of(c);
    int64_t place = 0;
    size_t size = 0;
    if (!iso_skip_records(c, &place, 2)) return refuse_set(c, "colours");
    mem_guard<uint8_t> rest(read_rest(c, place, &size));
    if (!rest) return 1;
    c->color_table = static_cast<uint8_t*>(mem_alloc_zeroed(COLORS * 3));
    if (c->color_table == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, "colours");
    field_text t;
    size_t next = 0;
    for (size_t at = 0; fields_of({rest.get(), size}, at, &t, &next); at = next) {
        t.end = reinterpret_cast<const char*>(rest.get()) + std::min(next, size);
        if (t.end < t.next) return refuse_set(c, "colours");
        if (!take_colors(c, &t, spec)) return refuse_set(c, "colours");
    }
    c->vlt_bits = 8;
    if (spec->color_count > 0) return 0;
    mem_free(c->color_table);
    c->color_table = nullptr;
    return 0;
}
