// CALS files: reading the interchange of binary elements that describes an image of type 2.
//
// What is not needed is passed over by its length. Elements of a few values are read whole and are small; only the
// content's attributes can be long, by the table of the kinds of tiles, and are believed as far as the file reaches.
#include <algorithm>
#include <cstring>

#include "raster/CALS/cals.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "CALS/calsoda";
constexpr size_t MOST_ELEMENT = 512; // an element that describes is smaller
constexpr int64_t INDEFINITE = -1;
constexpr int64_t BAD_LENGTH = -2;
constexpr int MOST_SEQUENCES = 8; // around a string

// Kinds of elements.
constexpr int TAG_INTEGER = 0x02;
constexpr int TAG_STRING = 0x04;
constexpr int TAG_NAME = 0x12; // of an object
constexpr int TAG_STRINGS = 0x24;
constexpr int TAG_SEQUENCE = 0x30;
constexpr int TAG_SET = 0x31;
constexpr int TAG_PROFILE = 0xA0;
constexpr int TAG_OBJECT = 0xA2;
constexpr int TAG_CONTENT = 0xA3;
constexpr int TAG_CLASSES = 0xA7;

constexpr int OBJECT_ROOT = 0;
constexpr int OBJECT_BLOCK = 4;

// The last byte of the name of a coding.
constexpr int CODING_PLAIN = 3;
constexpr int CODING_TILED = 5;
constexpr int CODING_GROUP4 = 6;

int not_standard(CFILE* c, const char* detail, int line = __builtin_LINE()) {
    return refuse(c, RZL_NOT_STANDARD_2, SOURCE, detail, line);
}

// ---- elements ------------------------------------------------------------------------------------------------------

struct element {
    int tag;
    const uint8_t* value;
    size_t size;
};

// The length out of the bytes that `next` gives, -1 at their end.
template <typename Next> int64_t length_of(Next next) {
    constexpr int LONG = 0x80;
    constexpr int MOST_BYTES = 8;
    int first = next();
    if (first < LONG) return first < 0 ? BAD_LENGTH : first;
    if (first == LONG) return INDEFINITE;
    int64_t length = 0;
    for (int bytes = first - LONG; bytes > 0; --bytes) {
        int byte = next();
        bool fits = byte >= 0 && first - LONG <= MOST_BYTES && length <= INT64_MAX >> 8;
        if (!fits) return BAD_LENGTH;
        length = length << 8 | byte;
    }
    return length;
}

// The element that comes next in memory, all of it there. False at the end, or with `in` failed.
bool next_element(byte_cursor* in, element* e) {
    if (cursor_left(in) == 0 || in->failed) return false;
    e->tag = take_u8(in);
    int64_t length = length_of([in] {
        uint8_t byte = take_u8(in);
        return in->failed ? -1 : int{byte};
    });
    bool long_tag = (e->tag & 0x1F) == 0x1F;
    if (length < 0 || long_tag || static_cast<uint64_t>(length) > cursor_left(in)) {
        in->failed = true;
        return false;
    }
    e->size = static_cast<size_t>(length);
    e->value = take_bytes(in, e->size);
    return true;
}

byte_cursor inside(const element& e) {
    return cursor_over(e.value, e.size);
}

// A number of up to four bytes; -1 for none, or one below 0.
int64_t number_in(const element& e) {
    if (e.size == 0 || e.size > 5 || (e.value[0] & 0x80) != 0) return -1;
    int64_t number = 0;
    for (size_t i = 0; i < e.size; ++i)
        number = number << 8 | e.value[i];
    return number <= INT32_MAX ? number : -1;
}

// The numbers of an element, however they are wrapped: at most `most`. How many there are.
size_t numbers_in(const element& e, int64_t* numbers, size_t most, int depth = 0) {
    byte_cursor in = inside(e);
    size_t count = 0;
    element part;
    while (count < most && next_element(&in, &part)) {
        bool wraps = (part.tag & 0x20) != 0 && depth < 2;
        if (wraps) {
            count += numbers_in(part, numbers + count, most - count, depth + 1);
        } else {
            numbers[count++] = number_in(part);
        }
    }
    return count;
}

// ---- what is read --------------------------------------------------------------------------------------------------

struct oda_page {
    int64_t width, height;           // pixels; 0: not told
    int64_t page_width, page_height; // units
    int64_t path, turn;              // quarters of a circle; -1: not told
    int64_t density;                 // dots an inch; 0: not told
    int64_t tile_width, tile_height; // 0: not told
    int coding;                      // the last byte of its name; 0: not told
    bool has_kinds;
};

// Dots an inch by the number that stands for a distance of 6 to 1 units.
int64_t density_of_code(int64_t code) {
    constexpr int64_t MOST_CODE = 6;
    return code >= 1 && code <= MOST_CODE ? CALS_UNITS_AN_INCH / (MOST_CODE + 1 - code) : -1;
}

// Dots an inch of so many pixels in a length.
int64_t density_of_spacing(const element& e) {
    int64_t pair[2] = {};
    if (numbers_in(e, pair, 2) != 2 || pair[0] <= 0 || pair[1] <= 0) return -1;
    return std::clamp<int64_t>(CALS_UNITS_AN_INCH * pair[1] / pair[0], 1, INT32_MAX);
}

void take_pair(const element& e, int32_t* pair) {
    int64_t numbers[2] = {};
    if (numbers_in(e, numbers, 2) != 2) return;
    for (size_t i = 0; i < 2; ++i)
        pair[i] = static_cast<int32_t>(std::max<int64_t>(numbers[i], 0));
}

// How the pixels are meant. False for values that there are not.
bool take_raster_attributes(cals_spec* spec, oda_page* page, const element& attributes) {
    byte_cursor in = inside(attributes);
    element e;
    while (next_element(&in, &e)) {
        switch (e.tag) {
        case 0x80: page->path = number_in(e); break;
        case 0x81: page->turn = number_in(e); break;
        case 0x82: page->density = density_of_code(number_in(e)); break;
        case 0xA3: take_pair(e, spec->offset); break;
        case 0xA4: take_pair(e, spec->clip); break;
        case 0xA5: page->density = density_of_spacing(e); break;
        case 0xA6: {
            int64_t pair[2] = {};
            if (numbers_in(e, pair, 2) != 2 || pair[0] <= 0 || pair[1] <= 0) return false;
            spec->aspect = static_cast<double>(pair[0]) / static_cast<double>(pair[1]);
            break;
        }
        default: break;
        }
    }
    return !in.failed && page->density >= 0;
}

bool take_presentation(cals_spec* spec, oda_page* page, const element& presentation) {
    byte_cursor in = inside(presentation);
    element e;
    while (next_element(&in, &e))
        if (e.tag == 0xA1 && !take_raster_attributes(spec, page, e)) return false;
    return !in.failed;
}

// A table of one number a tile.
int take_kinds(CFILE* c, cals_spec* spec, const element& table) {
    constexpr size_t ENTRY = 3;
    if (table.size == 0 || table.size % ENTRY != 0) return not_standard(c, "tile kinds");
    mem_free(spec->kinds);
    spec->kind_count = static_cast<int64_t>(table.size / ENTRY);
    spec->kinds = mem_new_array<uint8_t>(static_cast<size_t>(spec->kind_count));
    if (spec->kinds == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, "tile kinds");
    for (int64_t i = 0; i < spec->kind_count; ++i) {
        const uint8_t* entry = table.value + static_cast<size_t>(i) * ENTRY;
        if (entry[1] != 1) return not_standard(c, "tile kinds");
        spec->kinds[i] = entry[2];
    }
    return 0;
}

// How the content is coded.
int take_coding_attributes(CFILE* c, cals_spec* spec, oda_page* page, const element& attributes) {
    byte_cursor in = inside(attributes);
    element e;
    while (next_element(&in, &e)) {
        int64_t pair[2] = {};
        switch (e.tag) {
        case 0x80: page->width = number_in(e); break;
        case 0x81: page->height = number_in(e); break;
        case 0x86: page->tile_width = number_in(e); break;
        case 0x87: page->tile_height = number_in(e); break;
        case 0xA8: // where the first tile begins: images are cut into tiles from their corner
            if (numbers_in(e, pair, 2) != 2 || pair[0] != 0 || pair[1] != 0) return not_standard(c, "tile offset");
            break;
        case 0xA9:
            page->has_kinds = true;
            if (take_kinds(c, spec, e) != 0) return 1;
            break;
        default: break;
        }
    }
    return in.failed || page->width < 0 || page->height < 0 ? not_standard(c, "coding") : 0;
}

// ---- objects -------------------------------------------------------------------------------------------------------

// The root names the pages. A further element tells of the later edition of the rules.
int take_root(CFILE* c, cals_spec* spec, byte_cursor* in) {
    element e;
    int64_t pages = 0;
    while (next_element(in, &e)) {
        if (e.tag == 0x99) spec->level = 33;
        byte_cursor names = inside(e);
        element name;
        while (e.tag == 0xA0 && next_element(&names, &name))
            pages += name.tag == TAG_NAME ? 1 : 0;
        if (names.failed) return not_standard(c, "layout");
    }
    if (pages > 1) set_flag(c, FLAG_MULTI_IMAGE, true);
    return in->failed ? not_standard(c, "layout") : 0;
}

int take_object(CFILE* c, cals_spec* spec, oda_page* page, int object, byte_cursor* in) {
    element e;
    while (next_element(in, &e)) {
        int64_t pair[2] = {};
        if (e.tag == 0xA4 && object != OBJECT_BLOCK && numbers_in(e, pair, 2) == 2 && pair[0] > 0 && pair[1] > 0) {
            page->page_width = pair[0];
            page->page_height = pair[1];
        }
        if (object != OBJECT_BLOCK) continue;
        if (e.tag == 0xA6 && !take_presentation(spec, page, e)) return not_standard(c, "attributes");
        if (e.tag == 0xB9 && take_kinds(c, spec, e) != 0) return 1;
        page->has_kinds = page->has_kinds || e.tag == 0xB9;
    }
    return in->failed ? not_standard(c, "object") : 0;
}

// ---- the file ------------------------------------------------------------------------------------------------------

struct head {
    int tag; // -1 at the end of the file
    int64_t length;
};

head read_head(CFILE* c) {
    head h = {io_getc(c), BAD_LENGTH};
    if (h.tag >= 0) h.length = length_of([c] { return io_getc(c); });
    return h;
}

// A small element into `room`. False: it is none.
bool read_small(CFILE* c, const head& h, uint8_t* room) {
    bool small = h.length >= 0 && h.length < static_cast<int64_t>(MOST_ELEMENT);
    return small && io_read(c, room, static_cast<size_t>(h.length)) == static_cast<size_t>(h.length);
}

// An object: the number of its kind, and a set; the number may also stand as a byte by itself.
int read_object(CFILE* c, cals_spec* spec, oda_page* page, const head& h, int* object) {
    uint8_t room[MOST_ELEMENT];
    if (!read_small(c, h, room)) return not_standard(c, "object");
    byte_cursor in = cursor_over(room, static_cast<size_t>(h.length));
    element e = {};
    bool wrapped = h.length >= 3 && room[0] == TAG_INTEGER && room[1] == 1;
    *object = wrapped && next_element(&in, &e) ? e.value[0] : take_u8(&in);
    if (in.failed) return not_standard(c, "object");
    byte_cursor body = in;
    if (next_element(&in, &e) && e.tag == TAG_SET) body = inside(e);
    return *object == OBJECT_ROOT ? take_root(c, spec, &body) : take_object(c, spec, page, *object, &body);
}

int take_content_attribute(CFILE* c, cals_spec* spec, oda_page* page, const element& e) {
    if (e.tag == 0x86 && e.size > 0) page->coding = e.value[e.size - 1];
    return e.tag == 0xA2 ? take_coding_attributes(c, spec, page, e) : 0;
}

// The content's attributes, up to the head of its first string, where the file then stands.
int read_content_attributes(CFILE* c, cals_spec* spec, oda_page* page) {
    for (;;) {
        int64_t place = io_tell(c);
        head h = read_head(c);
        bool is_content = h.tag == TAG_STRING || h.tag == TAG_STRINGS || h.tag == TAG_SEQUENCE;
        if (is_content) return io_seek(c, place) ? 0 : refuse(c, RZL_READ_FAILED, SOURCE, "content");
        if (h.tag <= 0 || h.length < 0 || !io_has(c, static_cast<uint64_t>(h.length)))
            return not_standard(c, "content");
        mem_guard<uint8_t> block(io_read_block(c, static_cast<uint64_t>(h.length), 0, SOURCE, "content"));
        if (!block) return 1;
        element e = {h.tag, block.get(), static_cast<size_t>(h.length)};
        byte_cursor in = inside(e);
        if (e.tag != TAG_SET) {
            if (take_content_attribute(c, spec, page, e) != 0) return 1;
            continue;
        }
        while (next_element(&in, &e))
            if (take_content_attribute(c, spec, page, e) != 0) return 1;
        if (in.failed) return not_standard(c, "content");
    }
}

int read_profile(CFILE* c) {
    uint8_t room[MOST_ELEMENT];
    head h = read_head(c);
    if (h.tag != TAG_PROFILE || !read_small(c, h, room)) return not_standard(c, "profile");
    byte_cursor in = cursor_over(room, static_cast<size_t>(h.length));
    element e;
    while (next_element(&in, &e)) {
    }
    return in.failed ? not_standard(c, "profile") : 0;
}

// The objects up to the content of the first page.
int read_objects(CFILE* c, cals_spec* spec, oda_page* page) {
    constexpr int MOST_OBJECTS = 64;
    int last = -1;
    for (int count = 0; count < MOST_OBJECTS; ++count) {
        head h = read_head(c);
        uint8_t room[MOST_ELEMENT];
        if (h.tag == TAG_CLASSES && last < 0) {
            if (!read_small(c, h, room)) return not_standard(c, "classes");
            continue;
        }
        if (h.tag == TAG_CONTENT && last >= 0) return read_content_attributes(c, spec, page);
        if (h.tag != TAG_OBJECT) return not_standard(c, "object");
        int object = 0;
        if (read_object(c, spec, page, h, &object) != 0) return 1;
        if ((last < 0) != (object == OBJECT_ROOT)) return not_standard(c, "layout");
        last = object;
    }
    return not_standard(c, "objects");
}

// ---- what follows --------------------------------------------------------------------------------------------------

// Pixels of a page's side.
int64_t pixels_of(int64_t units, int64_t density) {
    return (units * density + CALS_UNITS_AN_INCH / 2) / CALS_UNITS_AN_INCH;
}

int settle_size(CFILE* c, cals_spec* spec, const oda_page& page) {
    if (page.density > 0) spec->density = static_cast<int32_t>(page.density);
    if (spec->density == 0) spec->density = CALS_USUAL_DENSITY;
    int64_t width = page.width > 0 ? page.width : c->xsize;
    int64_t height = page.height > 0 ? page.height : c->ysize;
    spec->height_of_page = height == 0;
    if (width == 0) width = pixels_of(page.page_width, spec->density);
    if (height == 0) height = pixels_of(page.page_height, spec->density);
    bool fits = width > 0 && width <= CALS_MOST_PIXELS && height > 0 && height <= INT32_MAX;
    if (!fits) return not_standard(c, "size");
    c->xsize = static_cast<int32_t>(width);
    c->ysize = static_cast<int32_t>(height);
    return 0;
}

int settle_coding(CFILE* c, cals_spec* spec, const oda_page& page) {
    bool known = page.coding == CODING_PLAIN || page.coding == CODING_TILED || page.coding == CODING_GROUP4;
    if (!known) return not_standard(c, "coding");
    bool told = page.tile_width > 0 || page.tile_height > 0;
    if (told && (page.tile_width != CALS_TILE || page.tile_height != CALS_TILE)) return not_standard(c, "tile size");
    bool tiled = page.coding == CODING_TILED || told || page.has_kinds;
    spec->tile_size = tiled ? CALS_TILE : 0;
    spec->usual_kind = page.coding == CODING_PLAIN ? CALS_TILE_PLAIN : CALS_TILE_CODED;
    c->format = page.coding == CODING_PLAIN ? RZL_FORMAT_BILEVEL : RZL_FORMAT_GROUP4;
    return 0;
}

int settle_rotation(CFILE* c, cals_spec* spec, const oda_page& page) {
    constexpr int64_t QUARTER = 90;
    bool told = page.path >= 0 || page.turn >= 0;
    if (!told && spec->orientation >= 0) return 0;
    int64_t path = page.path >= 0 ? page.path : 0;
    int64_t turn = page.turn >= 0 ? page.turn : 3;
    spec->orientation = cals_orientation_of(path * QUARTER, turn * QUARTER);
    return spec->orientation >= 0 ? 0 : not_standard(c, "rotation");
}

} // namespace

int cals_read_oda(CFILE* c) {
    cals_spec* spec = cals_spec_of(c);
    oda_page page = {};
    page.page_width = CALS_PAGE_WIDTH;
    page.page_height = CALS_PAGE_HEIGHT;
    page.path = page.turn = -1;
    spec->level = 32;
    if (read_profile(c) != 0 || read_objects(c, spec, &page) != 0) return 1;
    bool settled =
        settle_size(c, spec, page) == 0 && settle_coding(c, spec, page) == 0 && settle_rotation(c, spec, page) == 0;
    return settled ? 0 : 1;
}

int64_t cals_content_length(CFILE* c) {
    for (int i = 0; i < MOST_SEQUENCES; ++i) {
        head h = read_head(c);
        if (h.tag == TAG_SEQUENCE || h.tag == TAG_STRINGS) continue;
        if (h.tag != TAG_STRING || h.length < 0) return -1;
        int64_t place = io_tell(c);
        int64_t left = std::max<int64_t>(cals_spec_of(c)->file_size - place, 0);
        return std::min(h.length, left);
    }
    return -1;
}
