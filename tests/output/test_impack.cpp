// The image pack: its life, its refusals, and files written through it and read back.
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "common/failures.h"
#include "common/own_directory.h"
#include "output/impack.h"
#include "output_fixture.h"
#include "platform/files.h"
#include "support/log.h"

namespace {

constexpr int32_t WIDTH = 50;
constexpr int32_t HEIGHT = 7;

class Pack : public OwnDirectory {
protected:
    void SetUp() override {
        p = {WIDTH, HEIGHT, {}};
        for (size_t c = 0; c < 3; ++c) {
            for (size_t i = 0; i < size_t{WIDTH} * HEIGHT; ++i)
                p.channels[c].push_back(static_cast<uint8_t>(i / 9 * (c + 3)));
        }
        log_set_sink([](void* user, int, const char* text) { static_cast<Pack*>(user)->messages.emplace_back(text); },
                     this);
    }
    void TearDown() override {
        imp_verbose = 0;
        imp_planes_shared = 0;
        imp_set_pending_events(nullptr);
        log_set_sink(nullptr, nullptr);
    }

    Impack* pack(int32_t format) {
        Impack* made = pack_of(&p);
        made->standard = RZL_STANDARD_KRVN;
        made->format = format;
        if (imp_format_is_8_bit(format) != 0) made->index_plane = p.channels[0].data();
        return made;
    }
    static int write_pack(Impack* made, const std::string& to) {
        return imp_write(made, to.c_str(), 1, 0, 0, nullptr, 0, 0, nullptr);
    }
    int save(const std::string& to, const output_settings& settings) {
        auto& c = p.channels;
        return imp_save_planes(to.c_str(), WIDTH, HEIGHT, c[0].data(), c[1].data(), c[2].data(), &settings, nullptr);
    }
    void expect_planes(const std::string& file_path, bool one_plane) const {
        CFILE* file = rzl_open_r(file_path.c_str());
        ASSERT_NE(file, nullptr);
        for (int32_t y = 0; y < HEIGHT; ++y) {
            plane line[3] = {plane(WIDTH), plane(WIDTH), plane(WIDTH)};
            ASSERT_EQ(rzl_getline3(file, line[0].data(), line[1].data(), line[2].data()), 0);
            for (int c = 0; c < 3; ++c) {
                const auto* wanted = p.channels[one_plane ? 0 : c].data() + y * WIDTH;
                ASSERT_EQ(line[c], plane(wanted, wanted + WIDTH)) << y;
            }
        }
        rzl_close(file);
    }

    picture p;
    std::vector<std::string> messages;
};

} // namespace

TEST_F(Pack, WritesEveryNativeFormatAndReturnsToItsDirectory) {
    std::filesystem::path before = std::filesystem::current_path();
    std::vector<rzl_vlt_entry> vlt(16);
    for (uint16_t i = 0; i < 16; ++i)
        vlt[i] = {i, static_cast<uint16_t>(i * 256), 0x8000, 0};
    for (int32_t format : {2, 27, 28, 29}) {
        SCOPED_TRACE(format);
        Impack* made = pack(format);
        made->app_value_2 = 77;
        std::string to = path("f" + std::to_string(format) + ".rgb");
        EXPECT_EQ(write_pack(made, to), IMP_OK);
        expect_planes(to, made->index_plane != nullptr);
        if (made->index_plane != nullptr) { // a table goes along
            made->vlt = vlt.data();
            made->vlt_count = 16;
            EXPECT_EQ(write_pack(made, to), IMP_OK);
        }
        CFILE* file = rzl_open_r(to.c_str());
        int32_t value = 0;
        EXPECT_EQ(rzl_get_hdr_data(file, RZL_FIELD_APP_VALUE_2, &value), 0);
        EXPECT_EQ(value, 77);
        if (made->vlt != nullptr) {
            rzl_vlt_entry back[512];
            ASSERT_EQ(rzl_get_vlt(file, back), 0);
            EXPECT_EQ(back[15].red, 15 * 256);
            EXPECT_EQ(back[15].green, 0x8000);
        }
        rzl_close(file);
        imp_free(&made);
        EXPECT_EQ(made, nullptr);
    }
    std::filesystem::create_directories(path("sub"));
    Impack* made = pack(27);
    EXPECT_EQ(write_pack(made, directory + "\\Sub\\back.rgb"), IMP_OK);
    expect_planes(path("sub/back.rgb"), false);
    EXPECT_EQ(write_pack(made, path("no/x.rgb")), IMP_WRITE_FAILED);
    // A catalog would have its members made anew.
    write("cat.rgb", "SUPERT! IMAGEX 8 IMAGEY 8 TILESX 8 TILESY 8 TILESIZE 0 FILES m 0");
    EXPECT_EQ(write_pack(made, path("cat.rgb")), IMP_WRITE_FAILED);
    EXPECT_FALSE(std::filesystem::exists(path("m")));
    made->ysize = 0;
    EXPECT_EQ(write_pack(made, path("none.rgb")), IMP_OK);
    EXPECT_EQ(std::filesystem::file_size(path("none.rgb")), 1024u);
    imp_free(&made);
    EXPECT_EQ(std::filesystem::current_path(), before);
}

TEST_F(Pack, RefusalsHaveTheirCodesAndWords) {
    Impack* made = pack(27);
    const struct {
        const char* to;
        int32_t standard, format;
        uint32_t magic;
        int code;
        const char* words;
    } cases[] = {
        {nullptr, 0, 27, IMP_MAGIC, IMP_BAD_FILE, "Null file name. Line "},
        {"x", 99, 27, IMP_MAGIC, IMP_BAD_STANDARD, "Unsupported standard: 99. Line "},
        {"x", RZL_STANDARD_ICO, 2, IMP_MAGIC, IMP_BAD_FORMAT, "Unsupported format: 2. Line "}, // levels of 8 bits
        {"x", RZL_STANDARD_GIF, 27, IMP_MAGIC, IMP_BAD_FORMAT, "Unsupported format: 27. Line "},
        {"/no/such/x.rgb", 0, 27, IMP_MAGIC, IMP_WRITE_FAILED, "Error writing file: /no/such/x.rgb. Line "},
        {"x", 0, 27, 0, IMP_BAD_PACK, "Insane imp. Line "},
    };
    for (imp_verbose = 0; imp_verbose < 2; ++imp_verbose) {
        for (const auto& c : cases) {
            messages.clear();
            made->standard = c.standard;
            made->format = c.format;
            made->magic = c.magic;
            made->index_plane = c.format == 2 ? p.channels[0].data() : nullptr;
            EXPECT_EQ(imp_write(made, c.to, 1, 0, 0, nullptr, 0, 0, nullptr), c.code);
            EXPECT_EQ(imp_error, c.code);
            ASSERT_EQ(messages.size(), static_cast<size_t>(imp_verbose));
            if (imp_verbose != 0) {
                EXPECT_EQ(messages[0].rfind(c.words, 0), 0u) << messages[0];
            }
        }
    }
    imp_verbose = 0;
    EXPECT_EQ(write_pack(nullptr, "x"), IMP_NULL_PACK);
    EXPECT_EQ(imp_free(&made), IMP_NULL_PACK); // its magic word is wrong still
    made->magic = IMP_MAGIC;
    EXPECT_EQ(imp_free(&made), IMP_OK);
    EXPECT_EQ(imp_free(&made), IMP_NULL_PACK);
    // A save never leaves a native file under another format's name, and touches nothing when it refuses.
    const output_settings unwritten = {RZL_STANDARD_ADRG, RZL_FORMAT_RGB, 0, 0, 1.0};
    const output_settings pairs = {RZL_STANDARD_KRVN, RZL_FORMAT_BYTE_PAIRS, 0, 256, 1.0};
    EXPECT_EQ(save(path("s.rgb"), unwritten), IMP_BAD_STANDARD);
    EXPECT_EQ(save(path("s.rgb"), pairs), IMP_BAD_FORMAT);
    EXPECT_FALSE(std::filesystem::exists(path("s.rgb")));
}

TEST_F(Pack, ProgressIsToldAndTheWorkStops) {
    Impack* made = pack(27);
    char name[] = "n.rgb";
    made->file_name = name;
    kept_messages.clear();
    EXPECT_EQ(imp_write(made, path(name).c_str(), 1, 0, 0, nullptr, 14, 3, keep_message), IMP_OK);
    EXPECT_EQ(kept_messages, (std::vector<std::string>{"2Writing file : ", "2       n.rgb", "4Line     3/    7\r",
                                                       "4Line     6/    7\r", "4Line     7/    7\r",
                                                       "4Line     7/    7\n", "8Flushing file : n.rgb.   Standby.\n"}));
    begin_looks(1);
    EXPECT_EQ(imp_write(made, path(name).c_str(), 1, 2, 2, stop_at_look, 0, 0, nullptr), IMP_STOPPED);
    EXPECT_EQ(looks, 2);
    EXPECT_EQ(imp_error, IMP_OK);
    imp_free(&made);
}

TEST_F(Pack, EveryFailedAllocationOrWriteIsTold) {
    constexpr failing WAYS[] = {failing::allocation, failing::transfer};
    int code = IMP_OK;
    sweep_failures(
        WAYS,
        [&] {
            code = save(path("s.rgb"), {RZL_STANDARD_KRVN, RZL_FORMAT_PLANE_RUNS, 0, 0, 1.0});
        },
        [&](bool hit) { EXPECT_EQ(code == IMP_OK, !hit); });
    expect_planes(path("s.rgb"), false);
}
