// Detection in its order, creating and closing, and the choice of a standard.
#include <cstring>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/files.h"
#include "raster/CORE/standard.h"
#include "raster/core_fixture.h"

namespace {

class Open : public CoreTest {
protected:
    // What detection says of a file of these bytes under this name.
    int32_t detected(bytes_of_file bytes, const char* name = "/x/picture") {
        rzl_memfile record = {bytes.data(), static_cast<int32_t>(bytes.size()), 0, 0, 0, 0};
        CFILE* c = noting_handle(MODE_READ, &record);
        int32_t standard = detected_standard(c, name);
        rzl_close(c);
        return standard;
    }
    int32_t detected(const std::string& text, const char* name = "/x/picture") {
        return detected(bytes_of(text), name);
    }
};

std::string with_zeros(std::string text, size_t size = 600) {
    text.resize(size, '\0');
    return text;
}

// A data record file whose second record bears the name.
std::string record_file(const char* name, size_t size = 1024) {
    std::string text(size, ' ');
    text.replace(0, 10, "001002L   ");
    text.replace(100, 5, "00500");
    text.replace(112, 5, "00050");
    text.replace(150, 5, name);
    return text;
}

std::string usgs_file() {
    std::string text(1200, ' ');
    auto put = [&](size_t at, const char* value) { text.replace(at, std::strlen(value), value); };
    put(141, "  1");
    put(144, "   100");
    put(150, "   300");
    put(156, "  1");
    put(159, "  0");
    put(162, "  0");
    put(165, " 0");
    put(167, " 1");
    put(169, " 1");
    put(171, "                 1.5    ");
    put(195, "  0");
    put(204, "  0");
    return text;
}

TEST_F(Open, FormatsAreFoundFromTheirFirstBytes) {
    using namespace std::string_literals;
    struct row {
        std::string bytes;
        int32_t standard;
    };
    const row rows[] = {
        {with_zeros("\x08\x09\xFE\x01"s), RZL_STANDARD_KRVN},
        {with_zeros("\x08\x09\xFE\x02"s), RZL_STANDARD_KRVN},
        {"\0\0\xFE\0\x02\0\x01\0"s, RZL_STANDARD_KRVN},
        {with_zeros("\x08\x09\xFF\x01"s), DETECTED_NOTHING},
        {with_zeros("\x08\x09\xFE\xFF"s), DETECTED_NOTHING}, // the word count plus 2 is 0
        {with_zeros("\x07\x09\xFE\x01"s), DETECTED_NOTHING},
        {"\0\0\xFE"s, DETECTED_NOTHING}, // only with a zero that is not there
        {"II*\0"s, RZL_STANDARD_TIFF},
        {"MM"s, RZL_STANDARD_TIFF},
        {"GIF87a"s, RZL_STANDARD_GIF},
        {"GIF89a"s, RZL_STANDARD_GIF},
        {"GIF88a"s, DETECTED_NOTHING},
        {"BM"s, RZL_STANDARD_BMP},
        {"Raster!"s, RZL_STANDARD_KRVN},
        {"\xFF\xD8\xFF\xE0\0\x10JFIF"s, RZL_STANDARD_JFIF},
        {"\xC5\xD0\xD3\xC6"s, RZL_STANDARD_TIFF},
        {"SUPERT!"s, DETECTED_CATALOG},
        {"P6 1 1 255"s, RZL_STANDARD_PNM},
        {"P7"s, DETECTED_NOTHING},
        {"\x59\xA6\x6A\x95"s, RZL_STANDARD_SUN},
        {"\x95\x6A\xA6\x59"s, RZL_STANDARD_SUN},
        {record_file("IMG01"), RZL_STANDARD_ADRG},
        {record_file("LEG  "), RZL_STANDARD_ADRG},
        {record_file("IMG02"), RZL_STANDARD_ASRP},
        {record_file("XYZ  "), DETECTED_NOTHING},
        {record_file("IMG01", 1023), DETECTED_NOTHING},
        {"CADC/KR RST"s, RZL_STANDARD_HRF},
        {"\x0A\x05\x01\x08"s, RZL_STANDARD_PCX},
        {"\x0A\x01\x01\x08"s, DETECTED_NOTHING},
        {"FONT"s, RZL_STANDARD_SYM},
        {"\0\0\x01\0\x01\0\x20\x20\x10\0\0\0\0\0"s, RZL_STANDARD_ICO},
        {"srcdocid:"s, RZL_STANDARD_CALS},
        {"specversion:"s, RZL_STANDARD_CALS},
        {"\xA0"s, RZL_STANDARD_CALS},
        {"NITF02.00"s, RZL_STANDARD_NITF},
        {"NITF02-00"s, DETECTED_NOTHING},
        {"/* a */\n#define a_width 8\n#define a_height 4\nstatic char a_bits[] = {"s, RZL_STANDARD_XBM},
        {"#define a_width 8\nint x[] = {\n#define a_height 4\n"s, DETECTED_NOTHING},
        {std::string(4096, ' ') + "#define a_width 8\n#define a_height 4\n", DETECTED_NOTHING},
        {usgs_file().substr(0, 399), DETECTED_NOTHING},
        {usgs_file().replace(144, 6, "     0"), DETECTED_NOTHING},
        {"????"s + "\0\0\0\0\0\0\0\0\x1A\x1AUds\x82\x43J"s + std::string(328, '\0'), RZL_STANDARD_VRLC},
        {with_zeros("\0\0\x02"s, 12) + "\1\0\1\0\x18\0"s, RZL_STANDARD_TARGA},
        {with_zeros("\0\0\x02"s, 12) + "\1\0\1\0\x18"s, DETECTED_NOTHING},
        {with_zeros("\0\0\x02"s, 18), DETECTED_NOTHING}, // no size
        {with_zeros("\0\0\x04"s, 18), DETECTED_NOTHING},
        {""s, DETECTED_NOTHING},
        {with_zeros(""s), DETECTED_NOTHING},
    };
    for (const row& r : rows)
        EXPECT_EQ(detected(r.bytes), r.standard) << testing::PrintToString(r.bytes.substr(0, 20));
}

TEST_F(Open, NamesOfASetComeBeforeLooserTests) {
    EXPECT_EQ(detected("P5", "/x/ar.mrg"), DETECTED_COMPANION);
    EXPECT_EQ(detected("P5", "a3.MRG"), RZL_STANDARD_PNM) << "6 characters";
    EXPECT_EQ(detected("P5", "ab3.MRG"), DETECTED_COMPANION);
    EXPECT_EQ(detected("P5", "ar.mrg"), RZL_STANDARD_PNM);
    EXPECT_EQ(detected("P5", "maph.mrg"), RZL_STANDARD_MRG);
    EXPECT_EQ(detected("P5", "map241.MRG"), RZL_STANDARD_MRG);
    EXPECT_EQ(detected("BM", "map241.MRG"), RZL_STANDARD_BMP) << "first bytes come first";
    EXPECT_EQ(detected("??", nullptr), DETECTED_NOTHING);
}

TEST_F(Open, WhatNoModuleReadsIsAnsweredAsUnknown) {
    for (const char* text : {"", "?", "II*", "BM", "P6 1 1 0 abc"}) {
        write_bytes(path("unknown"), bytes_of(text));
        EXPECT_EQ(rzl_open_r(path("unknown").c_str()), nullptr) << text;
        EXPECT_EQ(library_status(), RZL_READ_FAILED) << text;
        EXPECT_EQ(rzl_open_rw(path("unknown").c_str()), nullptr) << text;
        EXPECT_EQ(library_status(), RZL_READ_FAILED) << text;
        EXPECT_EQ(read_bytes(path("unknown")), bytes_of(text));
    }
    write_bytes(path("set_r.mrg"), bytes_of("P6"));
    EXPECT_EQ(refused(rzl_open_r(path("set_r.mrg").c_str())), 0u) << "a companion is refused without a word";
    EXPECT_EQ(refused(rzl_open_r(path("missing").c_str())), RZL_CANNOT_OPEN);
    EXPECT_EQ(rzl_open_rw(path("missing").c_str()), nullptr);
    EXPECT_FALSE(std::filesystem::exists(path("missing")));
    EXPECT_EQ(refused(rzl_open_r(directory.c_str())), RZL_CANNOT_OPEN);
}

TEST_F(Open, CatalogIsNotTruncated) {
    bytes_of_file catalog = bytes_of("SUPERT! and all its members");
    write_bytes(path("catalog"), catalog);
    for (auto open : {rzl_open_w, rzl_open_wr}) {
        EXPECT_EQ(refused(open(path("catalog").c_str())), RZL_NOT_STANDARD) << "as its module has it";
    }
    EXPECT_EQ(read_bytes(path("catalog")), catalog);

    // A file that can't be read far enough to tell may be one too.
    bytes_of_file other = bytes_of("something else, of some length");
    write_bytes(path("other"), other);
    files_fail_after(0, files_fail::once);
    EXPECT_EQ(rzl_open_w(path("other").c_str()), nullptr);
    EXPECT_TRUE(files_fail_stop());
    EXPECT_EQ(read_bytes(path("other")), other);
}

TEST_F(Open, ModesOfCreatedAndOpenedFiles) {
    CFILE* c = opened(rzl_open_wr(path("new").c_str()));
    EXPECT_EQ(c->mode, MODE_WRITE_READ);
    expect_fields(c, {{RZL_FIELD_STANDARD, RZL_STANDARD_KRVN}, {RZL_FIELD_FLAG_404, 1}});
    rzl_close(c);
    EXPECT_EQ(refused(rzl_open_w(path("no/such/directory").c_str())), RZL_CANNOT_OPEN);

    ASSERT_EQ(write_picture(path("p").c_str(), RZL_FORMAT_BYTE, 20, 5, 1), 0u);
    c = opened(rzl_open_rw(path("p").c_str()));
    EXPECT_EQ(c->mode, MODE_UPDATE);
    EXPECT_TRUE(has_flag(c, FLAG_HEADER_EXISTS));
    EXPECT_EQ(c->mapping, nullptr);
    rzl_close(c);
    c = opened(rzl_open_r(path("p").c_str()));
    EXPECT_NE(c->mapping, nullptr);
    EXPECT_EQ(c->format, RZL_FORMAT_BYTE);
    rzl_close(c);
    EXPECT_EQ(library_status(), 0u);
}

TEST_F(Open, StandardIsFreeUntilTheHeaderStands) {
    CFILE* c = opened(rzl_open_wr(path("std").c_str()));
    EXPECT_EQ(set_field_to(c, RZL_FIELD_XSIZE, 8), 0);
    void* spec = c->spec;
    EXPECT_EQ(set_field_to(c, RZL_FIELD_STANDARD, RZL_STANDARD_KRVN), 0);
    EXPECT_EQ(c->spec, spec) << "the one in force changes nothing";
    for (int32_t id : {int32_t{RZL_STANDARD_ADRG}, 7, 24, INT32_MAX}) {
        EXPECT_EQ(set_field_to(c, RZL_FIELD_STANDARD, id), 0) << id;
        EXPECT_EQ(field_of(c, RZL_FIELD_STANDARD), RZL_STANDARD_KRVN) << id;
    }
    ::setenv("RZL_STANDARD", "1", 1);
    EXPECT_EQ(set_field_to(c, RZL_FIELD_STANDARD, -1), 0);
    ::unsetenv("RZL_STANDARD");
    EXPECT_EQ(field_of(c, RZL_FIELD_STANDARD), RZL_STANDARD_TIFF) << "the one that the environment names";
    set_fields(c, {{RZL_FIELD_STANDARD, RZL_STANDARD_KRVN}, {RZL_FIELD_XSIZE, 8}, {RZL_FIELD_YSIZE, 2}});
    EXPECT_EQ(rzl_write_header(c), 0);
    spec = c->spec;
    set_fields(c, {{RZL_FIELD_STANDARD, RZL_STANDARD_TIFF}, {RZL_FIELD_XSIZE, 4000}});
    EXPECT_EQ(c->spec, spec);
    EXPECT_EQ(field_of(c, RZL_FIELD_XSIZE), 8) << "passed over: the header tells 8";
    rzl_close(c);

    int create = -1;
    int read = -1;
    EXPECT_EQ(rzl_standard_support(RZL_STANDARD_KRVN, &create, &read), 0);
    EXPECT_TRUE(create == 1 && read == 1);
    EXPECT_EQ(rzl_standard_support(7, &create, &read), 1);
    EXPECT_STREQ(rzl_standard_name(RZL_STANDARD_VRLC), "IGS");
    EXPECT_STREQ(rzl_standard_name(RZL_STANDARD_USRP), "USRP");
    EXPECT_EQ(rzl_standard_name(7), nullptr);
    EXPECT_EQ(rzl_standard_name(-1), nullptr);
    EXPECT_EQ(rzl_standard_name(24), nullptr);
}

TEST_F(Open, MemoryFilesNeedNoDisk) {
    bytes_of_file block(20000);
    rzl_memfile record = {block.data(), static_cast<int32_t>(block.size()), 0, 0, 0, 0};
    char name[40];
    ASSERT_EQ(rzl_memfile_name(&record, name, sizeof name), 0);
    ASSERT_EQ(write_picture(name, RZL_FORMAT_BYTE, 100, 50, 3), 0u);
    EXPECT_EQ(record.data_start, 1024);
    uint32_t status = 0;
    EXPECT_TRUE(has_picture(name, 100, 50, 3, &status)) << status;
    EXPECT_NE(write_picture(name, RZL_FORMAT_BYTE, 1000, 50, 3), 0u) << "what does not fit is told";

    // A record that the file owns is gone after the close: the leak check would find it.
    auto* owned = static_cast<rzl_memfile*>(std::malloc(sizeof(rzl_memfile)));
    *owned = record;
    owned->owned = 1;
    owned->length = 3; // no file: nothing is closed then, and the record is still there
    // NOLINTNEXTLINE(clang-analyzer-unix.Malloc): the name holds the address
    EXPECT_EQ(rzl_memfile_name(owned, name, sizeof name), 0);
    EXPECT_EQ(rzl_open_r(name), nullptr);
    EXPECT_EQ(owned->length, 3);
    rzl_close(rzl_open_w(name));
}

// The standard output and input in one: a child writes a picture into a pipe, and we read it from there.
TEST_F(Open, StandardStreamsCarryPictures) {
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    pid_t child = ::fork();
    if (child == 0) {
        ::dup2(ends[1], 1);
        ::close(ends[0]);
        ::close(ends[1]);
        ::_exit(write_picture(nullptr, RZL_FORMAT_BYTE_RUNS, 300, 200, 8) == 0 ? 0 : 1);
    }
    ::dup2(ends[0], 0);
    ::close(ends[0]);
    ::close(ends[1]);
    uint32_t status = 0;
    EXPECT_TRUE(has_picture(nullptr, 300, 200, 8, &status)) << status;
    int result = -1;
    ::waitpid(child, &result, 0);
    EXPECT_EQ(result, 0);
}

TEST_F(Open, OffsetsGoPastFourGigabytes) {
    constexpr int32_t WIDTH = 100000;
    constexpr int32_t HEIGHT = 50000;
    std::string name = path("huge");
    ASSERT_EQ(write_picture(name.c_str(), RZL_FORMAT_BYTE, WIDTH, 1, 0), 0u);
    bytes_of_file head = read_bytes(name);
    head.resize(1024);
    std::memcpy(head.data() + 188, &HEIGHT, 4); // lines
    write_bytes(name, head);
    std::filesystem::resize_file(name, 1024 + uintmax_t{WIDTH} * HEIGHT); // sparse
    CFILE* c = opened(rzl_open_rw(name.c_str()));
    std::vector<uint8_t> line(WIDTH, 200);
    EXPECT_EQ(rzl_randomize(c), 0);
    EXPECT_EQ(rzl_seek(c, HEIGHT - 1), 0);
    EXPECT_EQ(rzl_putline(c, line.data()), 0);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_EQ(std::filesystem::file_size(name), 1024 + uintmax_t{WIDTH} * HEIGHT);

    c = opened(rzl_open_r(name.c_str()));
    EXPECT_EQ(rzl_randomize(c), 0);
    for (int32_t y : {HEIGHT - 2, HEIGHT - 1, 7050}) {
        EXPECT_EQ(rzl_seek(c, y), 0);
        EXPECT_EQ(rzl_getline(c, line.data()), 0);
        EXPECT_EQ(line[WIDTH - 1], y == HEIGHT - 1 ? 200 : 0) << y;
    }
    rzl_close(c);
}

TEST_F(Open, BadHandlesAreRefused) {
    alignas(CFILE) static unsigned char garbage[sizeof(CFILE)];
    auto* c = reinterpret_cast<CFILE*>(garbage);
    int32_t value = 5;
    for (CFILE* bad : {static_cast<CFILE*>(nullptr), c}) {
        set_last_status(0);
        EXPECT_EQ(rzl_finish(bad), RZL_BAD_CFILE);
        EXPECT_EQ(library_status(), RZL_BAD_CFILE);
        EXPECT_EQ(rzl_get_hdr_data(bad, RZL_FIELD_XSIZE, &value), 1);
        EXPECT_EQ(rzl_set_hdr_data(bad, RZL_FIELD_XSIZE, &value), 1);
        EXPECT_EQ(rzl_set_standard(bad, 0), 1);
        EXPECT_EQ(rzl_write_header(bad), 1);
        EXPECT_EQ(rzl_copy_data(bad, bad), 1);
        EXPECT_EQ(rzl_set_active_image(bad, 0), 1);
    }
    EXPECT_EQ(value, 5);
}

} // namespace
