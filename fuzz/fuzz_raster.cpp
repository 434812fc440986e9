// Opens any bytes as a raster file and reads all that can be read: header fields, lines through several calls, colour
// table, packets, overviews, images. The bytes go through a file on disk, as with a program, and through a block of
// memory, with what only today's programs write taken and not. Sums over what was read make a sanitizer see values that
// were never set.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "raster/rzl.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

constexpr int32_t MAX_LINES = 64;
constexpr int32_t MAX_IMAGES = 4;
constexpr int64_t MAX_LINE_BYTES = 1 << 22;

volatile uint32_t sink; // keeps the sums

void use(const void* bytes, size_t size) {
    const auto* p = static_cast<const uint8_t*>(bytes);
    uint32_t sum = 0;
    for (size_t i = 0; i < size; ++i)
        sum += p[i];
    sink = sink + sum;
}

int32_t field(CFILE* c, int32_t id) {
    int32_t value = 0;
    if (rzl_get_hdr_data(c, id, &value) != 0) value = 0;
    use(&value, sizeof value);
    return value;
}

void read_fields(CFILE* c) {
    // Room for the largest value, and for a tile directory of a size that is worth reading.
    std::vector<uint8_t> value(1 << 16);
    int64_t tiles = int64_t{field(c, 101)} * field(c, 102);
    for (int32_t id = 0; id < 1002; ++id) {
        if (id == 103 && (tiles < 0 || tiles * 4 > static_cast<int64_t>(value.size()))) continue;
        if (rzl_get_hdr_data(c, id, value.data()) == 0) use(value.data(), 4);
    }
    rzl_map_info map = {};
    if (rzl_get_hdr_data(c, RZL_FIELD_MAP, &map) == 0) use(&map, sizeof map);
    rzl_stat stat = {};
    if (rzl_get_stat(c, &stat) == 0) use(&stat.xsize, sizeof stat.xsize);
}

void read_tables(CFILE* c) {
    int32_t entries = field(c, RZL_FIELD_VLT_ENTRIES);
    if (entries > 0 && entries <= 1 << 16) {
        std::vector<rzl_vlt_entry> vlt(static_cast<size_t>(std::max(entries, 256)));
        if (rzl_get_vlt(c, vlt.data()) == 0) use(vlt.data(), vlt.size() * sizeof vlt[0]);
    }
    int32_t words = field(c, RZL_FIELD_PACKET_WORDS);
    if (words > 0 && words <= 1 << 20) {
        std::vector<uint8_t> packet(static_cast<size_t>(words) * 2);
        if (rzl_get_packet(c, packet.data()) == 0) use(packet.data(), packet.size());
    }
}

// The bytes of a plane: at most 16 a pixel, with the padding of bilevel words.
size_t plane_bytes(CFILE* c) {
    int64_t bytes = (int64_t{field(c, RZL_FIELD_XSIZE)} + 16) * 16;
    return bytes > 0 && bytes <= MAX_LINE_BYTES ? static_cast<size_t>(bytes) : 0;
}

void read_lines(CFILE* c, int way) {
    size_t bytes = plane_bytes(c);
    int32_t lines = std::min(field(c, RZL_FIELD_YSIZE), MAX_LINES);
    size_t samples = static_cast<size_t>(std::max(field(c, RZL_FIELD_SAMPLES), 4));
    if (bytes == 0 || samples > 16 || rzl_rewind(c) != 0) return;
    std::vector<std::vector<uint8_t>> planes(samples, std::vector<uint8_t>(bytes));
    std::vector<uint8_t> interleaved(bytes * samples);
    std::vector<void*> four = {planes[0].data(), planes[1].data(), planes[2].data(), planes[3].data()};
    for (int32_t y = 0; y < lines; ++y) {
        auto size = static_cast<int32_t>(interleaved.size());
        int result = 1;
        switch (way) {
        case 0: result = rzl_getline(c, planes[0].data()); break;
        case 1: result = rzl_getline3(c, planes[0].data(), planes[1].data(), planes[2].data()); break;
        case 2: result = rzl_getline_channels(c, 4, four.data()); break;
        case 3: result = rzl_getline_interleaved(c, interleaved.data()); break;
        case 4: result = rzl_get_rle_line(c, interleaved.data(), &size); break;
        default: result = rzl_getline16(c, reinterpret_cast<uint16_t*>(interleaved.data())); break;
        }
        if (result != 0) break;
        use(planes[0].data(), 1);
    }
}

void read_tiles(CFILE* c) {
    int64_t bytes = (int64_t{field(c, RZL_FIELD_TILE_WIDTH)} + 16) * field(c, RZL_FIELD_TILE_HEIGHT) * 16;
    int64_t tiles = int64_t{field(c, RZL_FIELD_TILES_ACROSS)} * field(c, RZL_FIELD_TILES_DOWN);
    if (bytes <= 0 || bytes > MAX_LINE_BYTES) return;
    std::vector<std::vector<uint8_t>> planes(4, std::vector<uint8_t>(static_cast<size_t>(bytes)));
    std::vector<void*> four = {planes[0].data(), planes[1].data(), planes[2].data(), planes[3].data()};
    for (int channels : {1, 3, 4}) {
        (void)rzl_seek(c, 0);
        for (int64_t tile = 0; tile < std::min(tiles, int64_t{MAX_LINES}); ++tile) {
            int32_t uniform = -1;
            auto size = static_cast<int32_t>(bytes);
            if (rzl_gettile(c, channels, four.data(), tile % 2 == 0 ? nullptr : &uniform) != 0) break;
            if (rzl_get_rle_tile(c, planes[0].data(), &size, &uniform) != 0) break;
        }
    }
}

void seek_about(CFILE* c) {
    size_t bytes = plane_bytes(c);
    int32_t lines = field(c, RZL_FIELD_YSIZE);
    if (bytes == 0 || lines <= 0) return;
    std::vector<uint8_t> plane(bytes);
    rzl_randomize(c);
    for (int32_t line : {lines - 1, 0, lines / 2, lines, -1}) {
        if (line > 100 * MAX_LINES) continue;
        if (rzl_seek(c, line) == 0) (void)rzl_getline(c, plane.data());
    }
}

void resample(CFILE* c) {
    if (plane_bytes(c) == 0) return;
    std::vector<uint8_t> planes[3];
    for (auto& plane : planes)
        plane.resize(64);
    if (rzl_set_squetch(c, 17, 5, RZL_SQUETCH_FILTER) != 0) return;
    for (int y = 0; y < 5; ++y) {
        if (rzl_getline3(c, planes[0].data(), planes[1].data(), planes[2].data()) != 0) break;
    }
    rzl_clear_squetch(c);
}

// Images of hardly any bytes can claim sizes that take long to skip through.
bool is_small(CFILE* c) {
    int64_t pixels = int64_t{field(c, RZL_FIELD_XSIZE)} * field(c, RZL_FIELD_YSIZE);
    return pixels >= 0 && pixels <= int64_t{1} << 22;
}

void read_target(CFILE* c) {
    read_fields(c);
    read_tables(c);
    for (int way = 0; way <= 5; ++way)
        read_lines(c, way);
    read_tiles(c);
    if (!is_small(c)) return;
    seek_about(c);
    resample(c);
}

void read_file(const char* name) {
    CFILE* c = rzl_open_r(name);
    if (c == nullptr) return;
    int32_t images = std::min(field(c, RZL_FIELD_IMAGES), MAX_IMAGES);
    for (int32_t image = 0; image < std::max(images, 1); ++image) {
        if (image > 0 && rzl_set_active_image(c, image) != 0) break;
        read_target(c);
        int32_t overviews = std::min(field(c, RZL_FIELD_OVERVIEWS), MAX_IMAGES);
        for (int32_t overview = 0; overview < overviews; ++overview) {
            if (rzl_set_active_overview(c, overview) == 0) read_target(c);
        }
        (void)rzl_set_active_overview(c, -1);
    }
    (void)rzl_is_damaged(c);
    rzl_close(c);
}

void through_disk(const uint8_t* data, size_t size) {
    static char name[64];
    if (name[0] == '\0') std::snprintf(name, sizeof name, "/tmp/fuzz_raster_%ld", static_cast<long>(getpid()));
    std::FILE* out = std::fopen(name, "wb");
    if (out == nullptr) std::abort();
    bool written = size == 0 || std::fwrite(data, 1, size, out) == size;
    if (std::fclose(out) != 0 || !written) std::abort();
    read_file(name);
    // The same file, to be changed: opened and closed, the native form writes back nothing.
    CFILE* c = rzl_open_rw(name);
    if (c != nullptr) rzl_close(c);
    std::remove(name);
}

// Formats that keep a picture in several files: an input of names and sizes in a line of text, as "FILES AH.MRG 459
// AR.MRG 2048", and the files' bytes behind it. They stand in a directory of their own, and the first one is opened.
void through_files(const uint8_t* data, size_t size) {
    constexpr size_t MOST_FILES = 4;
    const std::string text(data, data + std::min<size_t>(size, 200));
    const size_t end = text.find('\n');
    if (text.compare(0, 6, "FILES ") != 0 || end == std::string::npos) return;
    const std::string directory = "/tmp/fuzz_raster_files_" + std::to_string(getpid());
    if (mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST) std::abort();
    std::istringstream words(text.substr(6, end - 6));
    std::vector<std::string> paths;
    size_t at = end + 1;
    std::string name;
    size_t bytes = 0;
    while (paths.size() < MOST_FILES && words >> name >> bytes) {
        auto is_plain = [](char c) {
            return c == '.' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'z' && c != '\\');
        };
        if (name.size() > 20 || name[0] == '.' || !std::all_of(name.begin(), name.end(), is_plain)) break;
        bytes = std::min(bytes, size - at);
        paths.push_back(directory + "/" + name);
        std::ofstream(paths.back(), std::ios::binary)
            .write(reinterpret_cast<const char*>(data) + at, static_cast<std::streamsize>(bytes));
        at += bytes;
    }
    if (!paths.empty()) read_file(paths[0].c_str());
    for (const std::string& path : paths)
        std::remove(path.c_str());
    (void)rmdir(directory.c_str());
}

void through_memory(const uint8_t* data, size_t size) {
    std::vector<uint8_t> block(data, data + size);
    rzl_memfile record = {block.data(), static_cast<int32_t>(size), 0, 0, 0, 0};
    char name[40];
    if (rzl_memfile_name(&record, name, sizeof name) == 0) read_file(name);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > 1 << 20) return 0;
    rzl_set_extended(1);
    through_disk(data, size);
    through_files(data, size);
    for (int on : {0, 1}) {
        rzl_set_extended(on);
        through_memory(data, size);
    }
    return 0;
}
