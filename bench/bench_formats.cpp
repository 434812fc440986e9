// Formats that keep plain lines or simple run codes, through the public calls: a photograph-like picture of 16
// megapixels and a drawing of few colours, written line by line to a file and read back. A format has a row in FORMATS
// for each of its codings. `copy` beside each is what can't be undercut by much: the same file from one to another, in
// blocks.
//
// The program also serves bench/peers/formats.sh, which compares whole programs:
//   bench_formats make photo|drawing FILE.ppm      the picture
//   bench_formats write ROW photo|drawing FILE     the picture in the format of a row
//   bench_formats read FILE                        all lines of a file
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "raster/rzl.h"

namespace {

constexpr int32_t WIDTH = 4096;
constexpr int32_t HEIGHT = 4096;
constexpr size_t LINE = WIDTH;
constexpr size_t PIXELS = LINE * HEIGHT;

using bytes = std::vector<uint8_t>;

[[noreturn]] void stop(const char* what) {
    std::fprintf(stderr, "bench_formats: %s\n", what);
    std::exit(1);
}

constexpr int32_t PNM_TEXT = 7;

struct format_row {
    const char* name;
    int32_t standard, format;
    int32_t compression = 0; // field 501, 0: not set
};
constexpr format_row FORMATS[] = {
    {"tga_rgb", RZL_STANDARD_TARGA, RZL_FORMAT_RGB},
    {"tga_rgb_runs", RZL_STANDARD_TARGA, RZL_FORMAT_PLANE_RUNS},
    {"tga_byte", RZL_STANDARD_TARGA, RZL_FORMAT_BYTE},
    {"tga_byte_runs", RZL_STANDARD_TARGA, RZL_FORMAT_BYTE_RUNS},
    {"bmp_rgb", RZL_STANDARD_BMP, RZL_FORMAT_RGB},
    {"bmp_byte", RZL_STANDARD_BMP, RZL_FORMAT_BYTE},
    {"bmp_byte_runs", RZL_STANDARD_BMP, RZL_FORMAT_BYTE_RUNS},
    {"pcx_rgb", RZL_STANDARD_PCX, RZL_FORMAT_PLANE_RUNS},
    {"pcx_byte", RZL_STANDARD_PCX, RZL_FORMAT_BYTE_RUNS},
    {"hrf_rgb", RZL_STANDARD_HRF, RZL_FORMAT_RGB},
    {"hrf_byte", RZL_STANDARD_HRF, RZL_FORMAT_BYTE},
    {"hrf_byte_lzw", RZL_STANDARD_HRF, RZL_FORMAT_BYTE_RUNS},
    {"hrf_bits", RZL_STANDARD_HRF, RZL_FORMAT_BILEVEL},
    {"hrf_bits_runs", RZL_STANDARD_HRF, RZL_FORMAT_BILEVEL_RUNS},
    {"usgs_byte", RZL_STANDARD_USGS, RZL_FORMAT_BYTE},
    {"jfif_rgb", RZL_STANDARD_JFIF, RZL_FORMAT_JPEG_RGB},
    {"png_rgb", RZL_STANDARD_PNG, RZL_FORMAT_RGB},
    {"pnm_rgb", RZL_STANDARD_PNM, RZL_FORMAT_PLANE_RUNS},
    {"pnm_byte", RZL_STANDARD_PNM, RZL_FORMAT_BYTE},
    {"pnm_bits", RZL_STANDARD_PNM, RZL_FORMAT_BILEVEL},
    {"pnm_rgb_text", RZL_STANDARD_PNM, RZL_FORMAT_PLANE_RUNS, PNM_TEXT},
    {"pnm_byte_text", RZL_STANDARD_PNM, RZL_FORMAT_BYTE, PNM_TEXT},
    {"pnm_bits_text", RZL_STANDARD_PNM, RZL_FORMAT_BILEVEL, PNM_TEXT},
    {"sun_rgb", RZL_STANDARD_SUN, RZL_FORMAT_PLANE_RUNS},
    {"sun_byte", RZL_STANDARD_SUN, RZL_FORMAT_BYTE},
    {"sun_bits_runs", RZL_STANDARD_SUN, RZL_FORMAT_BILEVEL_RUNS},
    {"cals_bits", RZL_STANDARD_CALS, RZL_FORMAT_GROUP4},
    {"vrlc_bits", RZL_STANDARD_VRLC, RZL_FORMAT_BILEVEL_RUNS},
    {"vrlc_byte", RZL_STANDARD_VRLC, RZL_FORMAT_BYTE_RUNS},
    {"nitf_byte", RZL_STANDARD_NITF, RZL_FORMAT_BYTE},
    {"xbm_bits", RZL_STANDARD_XBM, RZL_FORMAT_BILEVEL},
    {"ps_rgb", RZL_STANDARD_POSTSCRIPT, RZL_FORMAT_PLANE_RUNS},
    {"ps_byte", RZL_STANDARD_POSTSCRIPT, RZL_FORMAT_BYTE},
};

// ---- pictures: three planes; a format of one plane has the first

// A bilevel format has the first bytes of the first plane as its bits, line behind line.
struct picture {
    const char* name;
    bytes planes[3];
};

uint32_t next_random(uint32_t* state) {
    *state = *state * 1664525u + 1013904223u;
    return *state >> 16;
}

// Shades with the noise of a sensor.
uint8_t photo_value(size_t plane, int32_t x, int32_t y, uint32_t* state) {
    double shade =
        128 + 70 * std::sin(x * 0.003 + static_cast<double>(plane)) * std::cos(y * 0.004) + 20 * std::sin(x * 0.05);
    return static_cast<uint8_t>(shade + static_cast<double>(next_random(state) % 9));
}

// Areas of one colour, a few dozen pixels wide.
uint8_t drawing_value(size_t plane, int32_t x, int32_t y) {
    int32_t cell = (x / 37 + y / 53) % 7 + ((x - y) / 90) % 3;
    return static_cast<uint8_t>(cell * 29 + static_cast<int32_t>(plane) * 11);
}

picture make_picture(bool photo) {
    picture made = {photo ? "photo" : "drawing", {}};
    uint32_t state = 1;
    for (auto& plane : made.planes)
        plane.resize(PIXELS);
    for (int32_t y = 0; y < HEIGHT; ++y)
        for (int32_t x = 0; x < WIDTH; ++x)
            for (size_t p = 0; p < 3; ++p)
                made.planes[p][static_cast<size_t>(y) * LINE + static_cast<size_t>(x)] =
                    photo ? photo_value(p, x, y, &state) : drawing_value(p, x, y);
    return made;
}

const picture& picture_of(const std::string& name) {
    static const picture photo = make_picture(true);
    static const picture drawing = make_picture(false);
    return name == "photo" ? photo : drawing;
}

// ---- this library

bool has_planes(int32_t format) {
    return format == RZL_FORMAT_RGB || format == RZL_FORMAT_PLANE_RUNS || format == RZL_FORMAT_JPEG_RGB;
}

bool is_bilevel(int32_t format) {
    return format == RZL_FORMAT_BILEVEL || format == RZL_FORMAT_BILEVEL_RUNS || format == RZL_FORMAT_GROUP4;
}

void write_file(const char* name, const format_row& row, const picture& from) {
    CFILE* c = rzl_open_w(name);
    if (c == nullptr) stop("a file can't be made");
    const int32_t fields[][2] = {{RZL_FIELD_STANDARD, row.standard},
                                 {RZL_FIELD_FORMAT, row.format},
                                 {RZL_FIELD_XSIZE, WIDTH},
                                 {RZL_FIELD_YSIZE, HEIGHT}};
    for (const auto& field : fields)
        if (rzl_set_hdr_data(c, field[0], &field[1]) != 0) stop("a header field can't be set");
    const int32_t from_top = RZL_TOP_DOWN;
    rzl_set_hdr_data(c, RZL_FIELD_ORIENTATION, &from_top); // most have no other order
    if (row.compression != 0 && rzl_set_hdr_data(c, RZL_FIELD_COMPRESSION, &row.compression) != 0)
        stop("a coding can't be set");
    const size_t pitch = is_bilevel(row.format) ? LINE / 8 : LINE;
    for (size_t y = 0; y < HEIGHT; ++y) {
        const uint8_t* lines[3] = {&from.planes[0][y * pitch], &from.planes[1][y * pitch], &from.planes[2][y * pitch]};
        int result = has_planes(row.format) ? rzl_putline3(c, lines[0], lines[1], lines[2]) : rzl_putline(c, lines[0]);
        if (result != 0) stop("a line can't be written");
    }
    if (rzl_finish(c) != 0) stop("a file can't be finished");
}

// All lines of a file, in planes; the lines come as the file has them. Bytes of the first line are given.
bytes read_file(const char* name) {
    CFILE* c = rzl_open_r(name);
    if (c == nullptr) stop("a file can't be opened");
    int32_t format = 0;
    int32_t lines = 0;
    rzl_get_hdr_data(c, RZL_FIELD_FORMAT, &format);
    rzl_get_hdr_data(c, RZL_FIELD_YSIZE, &lines);
    bytes first;
    bytes planes[3] = {bytes(LINE), bytes(LINE), bytes(LINE)};
    for (int32_t y = 0; y < lines; ++y) {
        int result = has_planes(format) ? rzl_getline3(c, planes[0].data(), planes[1].data(), planes[2].data())
                                        : rzl_getline(c, planes[0].data());
        if (result != 0) stop("a line can't be read");
        if (y == 0) first = planes[0];
    }
    rzl_close(c);
    return first;
}

// ---- benchmarks

std::string temporary_name(const char* what) {
    const char* directory = std::getenv("TMPDIR");
    return std::string(directory != nullptr ? directory : "/tmp") + "/bench_formats." + what;
}

void set_rate(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * WIDTH * HEIGHT);
}

void format_write(benchmark::State& state, const format_row* row, const char* what) {
    const picture& from = picture_of(what);
    std::string name = temporary_name(row->name);
    while (state.KeepRunning())
        write_file(name.c_str(), *row, from);
    set_rate(state);
    std::remove(name.c_str());
}

void format_read(benchmark::State& state, const format_row* row, const char* what) {
    const picture& from = picture_of(what);
    std::string name = temporary_name(row->name);
    write_file(name.c_str(), *row, from);
    bytes first;
    while (state.KeepRunning())
        first = read_file(name.c_str());
    bool bottom_up = row->standard == RZL_STANDARD_BMP; // its last line comes first
    bool lossless = row->standard != RZL_STANDARD_JFIF;
    size_t size = is_bilevel(row->format) ? LINE / 8 : LINE;
    const uint8_t* expected = &from.planes[0][bottom_up ? (HEIGHT - 1) * size : 0];
    if (lossless && std::memcmp(first.data(), expected, size) != 0) state.SkipWithError("other pixels were read");
    set_rate(state);
    std::remove(name.c_str());
}

// The file into another, a block after the other.
void format_copy(benchmark::State& state, const format_row* row, const char* what) {
    std::string name = temporary_name(row->name);
    std::string copy = temporary_name("copy");
    write_file(name.c_str(), *row, picture_of(what));
    bytes block(1 << 18);
    while (state.KeepRunning()) {
        std::FILE* in = std::fopen(name.c_str(), "rb");
        std::FILE* out = std::fopen(copy.c_str(), "wb");
        if (in == nullptr || out == nullptr) stop("copy");
        for (size_t size = 1; size > 0;) {
            size = std::fread(block.data(), 1, block.size(), in);
            if (std::fwrite(block.data(), 1, size, out) != size) stop("copy");
        }
        std::fclose(in);
        std::fclose(out);
    }
    set_rate(state);
    std::remove(name.c_str());
    std::remove(copy.c_str());
}

void add_row(const format_row& row, const char* what) {
    const struct {
        const char* name;
        void (*run)(benchmark::State&, const format_row*, const char*);
    } runs[] = {{"write", format_write}, {"read", format_read}, {"copy", format_copy}};
    int can_read = 0;
    rzl_standard_support(row.standard, nullptr, &can_read);
    for (const auto& r : runs) {
        if (r.run == format_read && can_read == 0) continue;
        std::string name = std::string(row.name) + "/" + what + "/" + r.name;
        benchmark::RegisterBenchmark(name.c_str(), r.run, &row, what)->Unit(benchmark::kMillisecond);
    }
}

// ---- for the script

int make_file(const picture& from, const char* name) {
    std::ofstream out(name, std::ios::binary);
    out << "P6\n" << WIDTH << ' ' << HEIGHT << "\n255\n";
    bytes line(LINE * 3);
    for (size_t y = 0; y < HEIGHT; ++y) {
        for (size_t x = 0; x < LINE; ++x)
            for (size_t p = 0; p < 3; ++p)
                line[x * 3 + p] = from.planes[p][y * LINE + x];
        out.write(reinterpret_cast<const char*>(line.data()), static_cast<std::streamsize>(line.size()));
    }
    return out.flush() ? 0 : 1;
}

int serve(int count, char** words) {
    std::string command = words[1];
    if (command == "make" && count == 4) return make_file(picture_of(words[2]), words[3]);
    if (command == "read" && count == 3) return read_file(words[2]).empty() ? 1 : 0;
    for (const format_row& row : FORMATS) {
        if (command != "write" || count != 5 || std::strcmp(words[2], row.name) != 0) continue;
        write_file(words[4], row, picture_of(words[3]));
        return 0;
    }
    stop("make PICTURE FILE, write ROW PICTURE FILE, or read FILE");
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 2 && argv[1][0] != '-') return serve(argc, argv);
    for (const format_row& row : FORMATS)
        for (const char* what : {"photo", "drawing"})
            add_row(row, what);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
