// TIFF files, both ways. Any bytes are opened as a file and read through every kind of call, with seeks between; then
// they are updated: lines are put, a header and a further image written, and what the file still holds is read again.
// Both happen twice, as the library takes files by itself and with the switch for today's files on, which deflated ones
// need. Bytes that are no file are taken as the pixels of a picture that is written in the coding that the first bytes
// name, and must come back as it was.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "memory_file.h"
#include "raster/rzl.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

constexpr int64_t MOST_LINE_BYTES = 1 << 20;
constexpr int32_t MOST_LINES = 48;
constexpr size_t ROOM = 1 << 16; // of an updated file behind what it was
constexpr int32_t DEFLATE = 8;   // field 501; with the switch on

// Room for a line of any kind: four planes of up to 4 bytes a pixel, or all of them together. Empty for lines that are
// not worth it.
struct line_room {
    bytes planes[4];
    void* all[4] = {};
    explicit line_room(CFILE* c) {
        int64_t room = (int64_t{field(c, RZL_FIELD_XSIZE)} + 32) * 16;
        for (int i = 0; i < 4 && room <= MOST_LINE_BYTES; ++i) {
            planes[i].resize(static_cast<size_t>(room));
            all[i] = planes[i].data();
        }
    }
};

int get_line(CFILE* c, line_room* room, int way) {
    auto size = static_cast<int32_t>(room->planes[0].size());
    switch (way) {
    case 0: return rzl_getline(c, room->all[0]);
    case 1: return rzl_getline3(c, room->all[0], room->all[1], room->all[2]);
    case 2: return rzl_getline_channels(c, 4, room->all);
    case 3: return rzl_getline_interleaved(c, room->all[0]);
    default: return rzl_get_rle_line(c, room->all[0], &size);
    }
}

void read_lines(CFILE* c) {
    line_room room(c);
    if (room.all[0] == nullptr) return;
    int32_t height = field(c, RZL_FIELD_YSIZE);
    for (int way = 0; way < 5; ++way) {
        (void)rzl_rewind(c);
        for (int32_t y = 0; y < height && y < MOST_LINES; ++y)
            if (get_line(c, &room, way) != 0) break;
        for (int32_t line : {height / 2, height - 1, height / 3}) {
            if (line >= 0 && line < 4096 && rzl_seek(c, line) == 0) (void)get_line(c, &room, way);
        }
    }
}

void read_fields(CFILE* c) {
    for (int32_t id : {4, 5, 6, 7, 8, 9, 22, 23, 26, 100, 101, 102, 200, 201, 402, 501, 502, 503, 504, 505}) {
        uint8_t value[128];
        (void)rzl_get_hdr_data(c, id, value);
    }
    if (field(c, RZL_FIELD_VLT_ENTRIES) <= 256) {
        rzl_vlt_entry table[256];
        (void)rzl_get_vlt(c, table);
    }
    int32_t words = field(c, RZL_FIELD_PACKET_WORDS);
    if (words > 0 && words < 1 << 16) {
        bytes packets(static_cast<size_t>(words) * 2);
        (void)rzl_get_packet(c, packets.data());
    }
    rzl_user_tag tag = {270, 0, 0, {}};
    (void)rzl_get_hdr_data(c, RZL_FIELD_USER_TAG, &tag);
}

// The images and overviews of a file, a few of each.
void read_all(CFILE* c) {
    int32_t images = field(c, RZL_FIELD_IMAGES);
    for (int32_t image = 0; image < images && image < 4; ++image) {
        if (image > 0 && rzl_set_active_image(c, image) != 0) continue;
        read_fields(c);
        read_lines(c);
        int32_t overviews = field(c, RZL_FIELD_OVERVIEWS);
        for (int32_t i = 0; i < overviews && i < 3; ++i)
            if (rzl_set_active_overview(c, i) == 0) read_lines(c);
        (void)rzl_set_active_overview(c, -1);
    }
}

void read_file(const char* name) {
    CFILE* c = rzl_open_r(name);
    if (c == nullptr) return;
    if (field(c, RZL_FIELD_STANDARD) == RZL_STANDARD_TIFF) read_all(c);
    rzl_close(c);
}

// What is done to a file that can be anything must leave one that can be read.
void update(bytes content) {
    size_t size = content.size();
    content.resize(size + ROOM);
    memory_file file(std::move(content));
    CFILE* c = rzl_open_rw(file.name);
    if (c == nullptr) return;
    line_room room(c);
    bool is_tiff = field(c, RZL_FIELD_STANDARD) == RZL_STANDARD_TIFF && room.all[0] != nullptr;
    for (int32_t line : {0, 3, 1, 2}) {
        if (!is_tiff || line >= field(c, RZL_FIELD_YSIZE)) continue;
        if (rzl_seek(c, line) == 0) (void)rzl_putline_channels(c, 4, room.all);
        if (line == 1 && rzl_seek(c, 2) == 0) (void)rzl_getline_channels(c, 4, room.all);
    }
    int32_t resolution = -static_cast<int32_t>(size);
    if (is_tiff) (void)rzl_set_hdr_data(c, RZL_FIELD_RESOLUTION, &resolution);
    bool written = is_tiff && rzl_write_header(c) == 0;
    bool closed = rzl_finish(c) == 0;
    if (!written || !closed) return;
    c = rzl_open_r(file.name);
    demand(c != nullptr);
    read_all(c);
    rzl_close(c);
}

// ---- a picture of the bytes

struct kind {
    int32_t format, compression, predictor, planar, rows, tile;
};

kind kind_of(const uint8_t* data) {
    static constexpr int32_t FORMATS[] = {1, 2, 3, 28, 69};
    static constexpr int32_t CODINGS[] = {1, 5, 32773, 2, 3, 4};
    kind k = {};
    k.format = FORMATS[data[0] % 5];
    k.compression = data[1] >= 0x80 ? DEFLATE : CODINGS[data[1] % (k.format == 1 ? 6 : 3)];
    k.predictor = k.format == 1 ? 1 : 1 + data[2] % 2;
    k.planar = 1 + data[2] / 2 % 2;
    k.rows = data[3] % 9;
    k.tile = data[4] % 3 * 16;
    if (k.tile != 0 && (k.compression == 5 || k.compression == DEFLATE))
        k.planar = 1; // planes of tiles are not coded so
    return k;
}

size_t plane_bytes(const kind& k, size_t width) {
    if (k.format == 1) return (width + 15) / 16 * 2;
    return k.format == 3 ? width * 2 : width;
}

void there_and_back(const uint8_t* data, size_t size) {
    if (size < 16) return;
    kind k = kind_of(data);
    size_t planes = k.format == 28 ? 3 : k.format == 69 ? 4 : 1;
    size_t width = size_t{data[5]} + 1;
    size_t line = plane_bytes(k, width);
    size_t height = (size - 8) / (line * planes);
    if (height == 0) return;
    memory_file file(bytes(size * 4 + (1 << 18)));
    CFILE* c = rzl_open_wr(file.name);
    demand(c != nullptr);
    const int32_t fields[][2] = {
        {500, 1},           {3, k.format},   {1, int32_t(width)}, {2, int32_t(height)}, {501, k.compression},
        {502, k.predictor}, {503, k.planar}, {505, k.rows},       {100, k.tile}};
    for (const auto& f : fields)
        demand(rzl_set_hdr_data(c, f[0], &f[1]) == 0);
    const uint8_t* pixels = data + 8;
    auto plane_of = [&](size_t y, size_t p) { return pixels + (y * planes + p) * line; };
    for (size_t y = 0; y < height; ++y) {
        const void* all[4] = {};
        for (size_t p = 0; p < planes; ++p)
            all[p] = plane_of(y, p);
        demand(rzl_putline_channels(c, int(planes), all) == 0);
    }
    demand(rzl_finish(c) == 0);
    c = rzl_open_r(file.name);
    demand(c != nullptr);
    for (size_t y = 0; y < height; ++y) {
        bytes got[4];
        void* all[4] = {};
        for (size_t p = 0; p < planes; ++p) {
            got[p].resize(line + 2);
            all[p] = got[p].data();
        }
        demand(rzl_getline_channels(c, int(planes), all) == 0);
        for (size_t p = 0; p < planes; ++p)
            for (size_t i = 0; i < line; ++i) {
                // What stands behind the last pixel of a bilevel line is no picture.
                size_t first = (i ^ 1) * 8;
                bool inside = k.format != 1 || first + 8 <= width;
                demand(!inside || got[p][i] == plane_of(y, p)[i]);
            }
    }
    rzl_close(c);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 1 << 18) return 0;
    memory_file file(bytes(data, data + size));
    bool tiff = size > 4 && ((data[0] == 'I' && data[1] == 'I') || (data[0] == 'M' && data[1] == 'M'));
    for (int extended : {0, 1}) {
        rzl_set_extended(extended);
        if (tiff) read_file(file.name);
        if (tiff) update(bytes(data, data + size));
    }
    if (!tiff) there_and_back(data, size);
    return 0;
}
