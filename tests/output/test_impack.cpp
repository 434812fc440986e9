// The image pack: its life, its refusals, and files written through it and read back.
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "output/impack.h"
#include "common/own_directory.h"
#include "platform/files.h"
#include "support/log.h"
#include "support/memory.h"

namespace {

constexpr int32_t WIDTH = 50;
constexpr int32_t HEIGHT = 7;

class Pack : public OwnDirectory {
protected:
    void SetUp() override {
        for (int c = 0; c < 3; ++c) {
            planes[c].resize(size_t{WIDTH} * HEIGHT);
            for (size_t i = 0; i < planes[c].size(); ++i)
                planes[c][i] = static_cast<uint8_t>(i / 9 * static_cast<size_t>(c + 3));
        }
        imp_planes_shared = 1;
        log_set_sink([](void* user, int, const char* text) { static_cast<Pack*>(user)->messages.emplace_back(text); },
                     this);
    }
    void TearDown() override {
        imp_verbose = 0;
        log_set_sink(nullptr, nullptr);
    }

    Impack* pack(int32_t format, bool one_plane) {
        Impack* p = nullptr;
        EXPECT_EQ(imp_alloc(&p), IMP_OK);
        p->standard = RZL_STANDARD_KRVN;
        p->format = format;
        p->xsize = WIDTH;
        p->ysize = HEIGHT;
        p->pixels = int64_t{WIDTH} * HEIGHT;
        if (one_plane) {
            p->index_plane = planes[0].data();
        } else {
            p->red_plane = planes[0].data();
            p->green_plane = planes[1].data();
            p->blue_plane = planes[2].data();
        }
        return p;
    }
    static int write(Impack* p, const std::string& path) {
        return imp_write(p, path.c_str(), 1, 0, 0, nullptr, 0, 0, nullptr);
    }
    void expect_planes(const std::string& path, bool one_plane) const {
        CFILE* file = rzl_open_r(path.c_str());
        ASSERT_NE(file, nullptr);
        std::vector<uint8_t> line[3];
        for (auto& l : line)
            l.resize(WIDTH);
        for (int32_t y = 0; y < HEIGHT; ++y) {
            ASSERT_EQ(rzl_getline3(file, line[0].data(), line[1].data(), line[2].data()), 0);
            for (int c = 0; c < 3; ++c) {
                const auto* wanted = planes[one_plane ? 0 : c].data() + y * WIDTH;
                ASSERT_EQ(line[c], std::vector<uint8_t>(wanted, wanted + WIDTH)) << y;
            }
        }
        rzl_close(file);
    }

    std::vector<uint8_t> planes[3];
    std::vector<std::string> messages;
};

} // namespace

TEST_F(Pack, WritesEveryNativeFormatAndReturnsToItsDirectory) {
    char before[FILES_PATH_SIZE];
    char after[FILES_PATH_SIZE];
    ASSERT_TRUE(files_working_directory(before, sizeof before));
    for (int32_t format : {2, 27, 28, 29}) {
        bool one_plane = format == 2 || format == 29;
        Impack* p = pack(format, one_plane);
        p->app_value_2 = 77;
        std::string path = directory + "/f" + std::to_string(format) + ".rgb";
        EXPECT_EQ(write(p, path), IMP_OK);
        expect_planes(path, one_plane);
        imp_free(&p);
        EXPECT_EQ(p, nullptr);
        CFILE* file = rzl_open_r(path.c_str());
        int32_t value = 0;
        EXPECT_EQ(rzl_get_hdr_data(file, RZL_FIELD_APP_VALUE_2, &value), 0);
        EXPECT_EQ(value, 77);
        rzl_close(file);
    }
    std::filesystem::create_directories(directory + "/sub");
    Impack* p = pack(27, false);
    EXPECT_EQ(write(p, directory + "\\Sub\\back.rgb"), IMP_OK);
    expect_planes(directory + "/sub/back.rgb", false);
    EXPECT_EQ(write(p, directory + "/no/x.rgb"), IMP_WRITE_FAILED);
    p->ysize = 0;
    EXPECT_EQ(write(p, directory + "/none.rgb"), IMP_OK);
    EXPECT_EQ(files_size_of((directory + "/none.rgb").c_str()), 1024);
    imp_free(&p);
    ASSERT_TRUE(files_working_directory(after, sizeof after));
    EXPECT_STREQ(before, after);
}

TEST_F(Pack, AColourTableGoesAlong) {
    std::vector<rzl_vlt_entry> vlt(16);
    for (uint16_t i = 0; i < 16; ++i)
        vlt[i] = {i, static_cast<uint16_t>(i * 256), 0x8000, 0};
    Impack* p = pack(29, true);
    p->vlt = vlt.data();
    p->vlt_count = 16;
    EXPECT_EQ(write(p, directory + "/v.rgb"), IMP_OK);
    imp_free(&p);
    CFILE* file = rzl_open_r((directory + "/v.rgb").c_str());
    ASSERT_NE(file, nullptr);
    rzl_vlt_entry back[512];
    ASSERT_EQ(rzl_get_vlt(file, back), 0);
    EXPECT_EQ(back[15].red, 15 * 256);
    EXPECT_EQ(back[15].green, 0x8000);
    rzl_close(file);
}

TEST_F(Pack, RefusalsHaveTheirCodes) {
    Impack* p = pack(27, false);
    EXPECT_EQ(imp_write(p, nullptr, 1, 0, 0, nullptr, 0, 0, nullptr), IMP_BAD_FILE);
    EXPECT_EQ(write(nullptr, "x"), IMP_NULL_PACK);
    EXPECT_TRUE(messages.empty());
    imp_verbose = 1;
    p->standard = 6;
    EXPECT_EQ(write(p, "x"), IMP_BAD_STANDARD);
    EXPECT_EQ(messages.back().rfind("Unsupported standard: 6. Line ", 0), 0u);
    p->standard = RZL_STANDARD_GIF;
    EXPECT_EQ(write(p, "x"), IMP_BAD_FORMAT);
    p->standard = RZL_STANDARD_KRVN;
    EXPECT_EQ(write(p, directory + "/no/x.rgb"), IMP_WRITE_FAILED);
    EXPECT_EQ(imp_error, IMP_WRITE_FAILED);
    p->magic ^= 1;
    EXPECT_EQ(write(p, "x"), IMP_BAD_PACK);
    EXPECT_EQ(imp_free(&p), IMP_NULL_PACK);
    p->magic ^= 1;
    EXPECT_EQ(imp_free(&p), IMP_OK);
    EXPECT_EQ(imp_free(&p), IMP_NULL_PACK);
}

TEST_F(Pack, ProgressIsToldAndTheWorkStops) {
    static std::vector<std::string> told;
    told.clear();
    Impack* p = pack(27, false);
    char name[] = "n.rgb";
    p->file_name = name;
    auto log = [](int level, const char* text) { told.push_back(std::to_string(level) + text); };
    std::string path = directory + "/n.rgb";
    EXPECT_EQ(imp_write(p, path.c_str(), 1, 0, 0, nullptr, 14, 3, log), IMP_OK);
    EXPECT_EQ(told, (std::vector<std::string>{"2Writing file : ", "2       n.rgb", "4Line     3/    7\r",
                                              "4Line     6/    7\r", "4Line     7/    7\r", "4Line     7/    7\n",
                                              "8Flushing file : n.rgb.   Standby.\n"}));
    static int looks;
    looks = 0;
    imp_set_pending_events([]() -> uint32_t { return 6; });
    auto stop = [](uint32_t events) {
        EXPECT_EQ(events, 2u);
        return ++looks == 2 ? 1 : 0;
    };
    imp_error = IMP_OK;
    EXPECT_EQ(imp_write(p, path.c_str(), 1, 2, 2, stop, 0, 0, nullptr), IMP_STOPPED);
    EXPECT_EQ(looks, 2);
    EXPECT_EQ(imp_error, IMP_OK);
    imp_set_pending_events(nullptr);
    imp_free(&p);
}

TEST_F(Pack, EveryFailedAllocationOrWriteIsToldAndNothingLeaks) {
    output_settings settings = {RZL_STANDARD_KRVN, RZL_FORMAT_PLANE_RUNS, 0, 0, 1.0};
    std::string path = directory + "/s.rgb";
    long before = mem_live();
    for (int kind = 0; kind < 2; ++kind) {
        bool hit = true;
        for (long n = 0; hit; ++n) {
            if (kind == 0) {
                mem_fail_after(n, mem_fail::once);
            } else {
                files_fail_after(n, files_fail::once);
            }
            int code = imp_save_planes(path.c_str(), WIDTH, HEIGHT, planes[0].data(), planes[1].data(),
                                       planes[2].data(), &settings, nullptr);
            hit = kind == 0 ? mem_fail_stop() : files_fail_stop();
            EXPECT_EQ(code == IMP_OK, !hit) << kind << " " << n;
            EXPECT_EQ(mem_live(), before);
        }
        expect_planes(path, false);
    }
    settings = {RZL_STANDARD_JFIF, RZL_FORMAT_RGB, 0, 0, 1.0}; // never a native file under another name
    EXPECT_EQ(imp_save_planes(path.c_str(), WIDTH, HEIGHT, planes[0].data(), planes[1].data(), planes[2].data(),
                              &settings, nullptr),
              IMP_BAD_STANDARD);
    settings = {RZL_STANDARD_KRVN, RZL_FORMAT_BYTE_PAIRS, 0, 256, 1.0};
    EXPECT_EQ(imp_save_planes(path.c_str(), WIDTH, HEIGHT, planes[0].data(), planes[1].data(), planes[2].data(),
                              &settings, nullptr),
              IMP_BAD_FORMAT);
    expect_planes(path, false); // refused before the file was touched
}
