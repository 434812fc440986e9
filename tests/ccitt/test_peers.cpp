// Both ways with independent programs: strips in a small TIFF file for tiffcp, raw group 3 data for the programs of
// netpbm. Pictures of those formats are read and written here by a few lines of their own.
#include "ccitt/ccitt_fixture.h"

namespace {

void run(const std::string& command) {
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

void append(bytes_of_file* file, uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
        file->push_back(static_cast<uint8_t>(value >> 8 * i));
}

// One strip, least significant bit first when `order` is 2, white for 0.
void write_tiff(const std::string& path, const page& p, uint32_t compression, uint32_t options, uint32_t order,
                const bytes_of_file& strip) {
    bytes_of_file file = {'I', 'I', 42, 0, 8, 0, 0, 0};
    using entry = std::pair<uint32_t, uint32_t>;
    entry option_tag = compression == 2 ? entry{284, 1} : entry{compression == 3 ? 292 : 293, options};
    const std::vector<entry> entries = {{256, p.width},
                                        {257, p.lines},
                                        {258, 1},
                                        {259, compression},
                                        {262, 0},
                                        {266, order},
                                        {273, 8 + 2 + 11 * 12 + 4},
                                        {277, 1},
                                        {278, p.lines},
                                        {279, static_cast<uint32_t>(strip.size())},
                                        option_tag};
    append(&file, static_cast<uint32_t>(entries.size()), 2);
    for (auto [tag, value] : entries) {
        append(&file, tag, 2);
        append(&file, 4, 2);
        append(&file, 1, 4);
        append(&file, value, 4);
    }
    append(&file, 0, 4);
    file.insert(file.end(), strip.begin(), strip.end());
    write_bytes(path, file);
}

struct strip {
    uint32_t options;
    uint32_t order;
    bytes_of_file coded;
};

// The only strip of a little-endian file.
strip read_tiff(const std::string& path) {
    bytes_of_file file = read_bytes(path);
    strip s = {0, 1, {}};
    if (file.size() < 8 || file[0] != 'I') return s;
    size_t at = load_u32le(&file[4]);
    uint32_t offset = 0, bytes = 0;
    for (unsigned i = 0, count = load_u16le(&file[at]); i < count; ++i) {
        const uint8_t* entry = &file[at + 2 + i * 12];
        uint32_t value = load_u16le(entry + 2) == 3 ? load_u16le(entry + 8) : load_u32le(entry + 8);
        switch (load_u16le(entry)) {
        case 266: s.order = value; break;
        case 273: offset = value; break;
        case 279: bytes = value; break;
        case 292: s.options = value; break;
        default: break;
        }
    }
    s.coded.assign(file.begin() + offset, file.begin() + offset + bytes);
    return s;
}

// Lines as the bytes of the formats: most significant bit first, padded to bytes.
bytes_of_file packed(const page& p) {
    bytes_of_file bytes;
    for (uint32_t y = 0; y < p.lines; ++y)
        for (uint32_t x = 0; x < p.width; x += 8)
            bytes.push_back(p.line(y)[page::byte_of(x)]);
    return bytes;
}

struct peer_coding {
    cit_coding coding;
    uint32_t compression, options;
    const char* name;
} const CODINGS[] = {
    {cit_coding::aligned, 2, 0, nullptr},    {cit_coding::g3_1d, 3, 0, "g3"},
    {cit_coding::g3_2d, 3, 1, "g3:2d"},      {cit_coding::g3_2d, 3, 1, "g3:2d:fill"},
    {cit_coding::g3_1d, 3, 0, "g3:1d:fill"}, {cit_coding::g4, 4, 0, "g4"},
};

TEST_F(CcittTest, PeersReadAndWriteTheSameStrips) {
    for (auto [width, lines] : {std::pair{1u, 3u}, {13u, 40u}, {1728u, 500u}, {5000u, 7000u}}) {
        page p = make_page(width, lines, width);
        for (const peer_coding& c : CODINGS)
            for (uint32_t order : {1u, 2u}) {
                if (width == 5000 && order == 2) continue;
                bytes_of_file coded = encode(c.coding, p);
                if (order == 1) cit_reverse_bytes(coded.data(), coded.size());
                write_tiff(path("ours.tif"), p, c.compression, c.options, order, coded);
                run("tiffcp -c none -f msb2lsb -r 1000000 " + path("ours.tif") + " " + path("plain.tif"));
                ASSERT_EQ(read_tiff(path("plain.tif")).coded, packed(p))
                    << width << ' ' << c.compression << ' ' << order;
                if (c.name == nullptr) continue;
                run(std::string("tiffcp -r 1000000 -c ") + c.name + (order == 1 ? " -f msb2lsb " : " -f lsb2msb ") +
                    path("plain.tif") + " " + path("theirs.tif"));
                strip s = read_tiff(path("theirs.tif"));
                EXPECT_EQ(s.options & 1, c.options) << c.name;
                ASSERT_EQ(s.order, order);
                if (order == 1) cit_reverse_bytes(s.coded.data(), s.coded.size());
                ASSERT_EQ(decode(c.coding, width, lines, s.coded).bits, p.bits)
                    << width << ' ' << c.name << ' ' << order;
            }
    }
}

TEST_F(CcittTest, RawGroupThreeDataIsTheSameToOthers) {
    page p = make_page(1728, 300, 6);
    std::string header = "P4\n1728 300\n";
    bytes_of_file pbm(header.begin(), header.end());
    bytes_of_file raster = packed(p);
    pbm.insert(pbm.end(), raster.begin(), raster.end());
    write_bytes(path("page.pbm"), pbm);
    run("pbmtog3 " + path("page.pbm") + " > " + path("theirs.g3"));
    bytes_of_file theirs = read_bytes(path("theirs.g3"));
    cit_reverse_bytes(theirs.data(), theirs.size());
    whole_image image = decode_whole(cit_decode_g3, 1728, 1000, theirs);
    EXPECT_EQ(image.result, CIT_OK);
    EXPECT_EQ(image.lines.size(), 300u);
    EXPECT_EQ(decode(cit_coding::g3_1d, 1728, 300, theirs).bits, p.bits);

    bytes_of_file ours = encode(cit_coding::g3_1d, p);
    cit_reverse_bytes(ours.data(), ours.size());
    write_bytes(path("ours.g3"), ours);
    run("g3topbm " + path("ours.g3") + " > " + path("back.pbm"));
    EXPECT_EQ(read_bytes(path("back.pbm")), pbm);
}

} // namespace
