// tinct-sample: pairs that hold together, the same in every packing, and what a wrong command line gets; and the coder
// of its compressed streams against the reader's decoder.
#include <algorithm>

#include "app_fixture.h"
#include "compress.h"
#include "tnc/decompress.h"
#include "tnc/tnc.h"

namespace {

constexpr int WIDTH = 120;
constexpr int HEIGHT = 90;

struct picture {
    int32_t width = 0, height = 0;
    std::vector<uint8_t> planes[3];
};

picture load_picture(const std::string& path) {
    picture p;
    CFILE* file = rzl_open_r(path.c_str());
    EXPECT_NE(file, nullptr);
    if (file == nullptr) return p;
    int32_t format = 0;
    rzl_get_hdr_data(file, RZL_FIELD_XSIZE, &p.width);
    rzl_get_hdr_data(file, RZL_FIELD_YSIZE, &p.height);
    rzl_get_hdr_data(file, RZL_FIELD_FORMAT, &format);
    EXPECT_EQ(format, RZL_FORMAT_PLANE_RUNS);
    auto width = static_cast<size_t>(p.width);
    for (auto& plane : p.planes)
        plane.resize(width * static_cast<size_t>(p.height));
    for (size_t y = 0; y < static_cast<size_t>(p.height); ++y) {
        EXPECT_EQ(rzl_getline3(file, &p.planes[0][y * width], &p.planes[1][y * width], &p.planes[2][y * width]), 0);
    }
    EXPECT_EQ(rzl_finish(file), 0u);
    return p;
}

struct image_owner {
    tnc_image* image;
    explicit image_owner(const std::string& path) : image(tnc_read(path.c_str(), HEIGHT)) {}
    ~image_owner() { tnc_free(image); }
    image_owner(const image_owner&) = delete;
    image_owner& operator=(const image_owner&) = delete;
};

// All packed lines of an image, in order, as one text.
std::string all_lines(const tnc_image* image) {
    std::string text;
    for (const compressed_pen* pen : image->pens) {
        if (pen == nullptr) continue;
        text += "pen " + std::to_string(pen->pen) + (pen->has_uv != 0 ? " uv\n" : "\n");
        for (int y = 0; y < pen->line_count; ++y) {
            for (const pline* line = pen->lines[y]; line != nullptr; line = line->next) {
                text += std::to_string(y) + ":";
                text.append(reinterpret_cast<const char*>(line->code), line->length);
            }
        }
    }
    return text;
}

// What the samples say, against the picture.
struct census {
    picture p;
    std::vector<int> contributions[3];
    std::vector<int> samples;
    int strongest = 0;
    size_t at(int32_t x, int32_t y) const { return static_cast<size_t>(y) * WIDTH + static_cast<size_t>(x); }
};

void count_sample(void* user, int32_t x, int32_t y, int32_t red, int32_t green, int32_t blue, int32_t /*u*/,
                  int32_t /*v*/) {
    auto* c = static_cast<census*>(user);
    ASSERT_LT(x, WIDTH);
    const int32_t shades[3] = {red, green, blue};
    for (int i = 0; i < 3; ++i) {
        c->contributions[i][c->at(x, y)] += shades[i] >> 1;
        c->strongest = std::max(c->strongest, static_cast<int>(shades[i]));
    }
    c->samples[c->at(x, y)]++;
}

bool has_second_layer(const tnc_image* image) {
    for (const compressed_pen* pen : image->pens) {
        for (int y = 0; pen != nullptr && y < pen->line_count; ++y) {
            if (pen->lines[y] != nullptr && pen->lines[y]->next != nullptr) return true;
        }
    }
    return false;
}

void check_surfaces(const tnc_image* image) {
    int pens = 0, mapped = 0;
    for (int pen = 0; pen < PEN_COUNT; ++pen) {
        pen_summary summary;
        if (!pen_summarise(image, pen, &summary) || summary.samples == 0) continue;
        pens++;
        mapped += pen_has_uv(image, pen);
    }
    EXPECT_GE(pens, 10);
    EXPECT_GT(mapped * 2, pens) << "most surfaces take patterns";
}

void check_model(const tnc_image* image, const std::string& raster) {
    census c;
    c.p = load_picture(raster);
    ASSERT_EQ(c.p.width, WIDTH);
    ASSERT_EQ(c.p.height, HEIGHT);
    c.samples.assign(WIDTH * HEIGHT, 0);
    for (auto& sum : c.contributions)
        sum.assign(WIDTH * HEIGHT, 0);
    for (int pen = 0; pen < PEN_COUNT; ++pen)
        pen_for_each_pixel(image, pen, &c, count_sample);
    int below = 0, plain_rest = 0, covered = 0, crowded = 0;
    for (size_t i = 0; i < WIDTH * HEIGHT; ++i) {
        for (int channel = 0; channel < 3; ++channel) {
            int rest = c.p.planes[channel][i] - c.contributions[channel][i];
            below += rest < 0 ? 1 : 0;
            plain_rest += rest <= 2 ? 1 : 0;
        }
        covered += c.samples[i] > 0 ? 1 : 0;
        crowded += c.samples[i] >= 3 ? 1 : 0;
    }
    EXPECT_EQ(below, 0) << "taking a surface out must leave what the others and plain light give";
    EXPECT_GT(plain_rest, WIDTH * HEIGHT) << "on dull surfaces nothing is left when they are taken out";
    EXPECT_GT(covered, WIDTH * HEIGHT * 8 / 10);
    EXPECT_GT(crowded, WIDTH * HEIGHT / 100) << "soft edges and things seen through others";
    EXPECT_GT(c.strongest, 180) << "full light is bright";
}

class Sample : public AppFixture {
protected:
    std::string render(const std::string& scene, const std::string& to, const std::string& options) const {
        run_result r = run("tinct-sample " + scene + " " + to + " --size 120x90 " + options);
        EXPECT_EQ(r.status, 0) << r.err;
        return directory + "/" + to + "/" + scene;
    }
};

TEST_F(Sample, EverySceneIsASoundPair) {
    for (std::string scene : {"still", "room", "chair"}) {
        SCOPED_TRACE(scene);
        std::string stem = render(scene, "none", "--compress none");
        image_owner raw(stem + ".tnc");
        ASSERT_NE(raw.image, nullptr);
        EXPECT_TRUE(raw.image->complete);
        EXPECT_EQ(raw.image->version, 3);
        EXPECT_STREQ(raw.image->name, (scene + ".rgb").c_str());
        check_surfaces(raw.image);
        check_model(raw.image, stem + ".rgb");
        EXPECT_TRUE(has_second_layer(raw.image)) << "a surface that is also seen in a reflection";
    }
}

TEST_F(Sample, EveryPackingHoldsTheSame) {
    std::string lines, pixels;
    for (std::string packing : {"none", "plines", "stream", "both"}) {
        SCOPED_TRACE(packing);
        std::string stem = render("chair", packing, "--compress " + packing);
        image_owner packed(stem + ".tnc");
        ASSERT_NE(packed.image, nullptr);
        if (packing == "none") {
            lines = all_lines(packed.image);
            pixels = read(stem + ".rgb");
            continue;
        }
        EXPECT_TRUE(all_lines(packed.image) == lines);
        EXPECT_TRUE(read(stem + ".rgb") == pixels);
        if (packing == "plines") {
            EXPECT_LT(std::filesystem::file_size(stem + ".tnc"), std::filesystem::file_size(path("none/chair.tnc")));
        }
    }
}

TEST_F(Sample, DependsOnTheSeedButNotOnTheProcessors) {
    std::string first = read(render("still", "a", "--seed 5") + ".tnc");
    run_result one = run("tinct-sample --list >/dev/null && taskset -c 0 " + bin_dir() +
                         "/tinct-sample still b --size 120x90 --seed 5");
    EXPECT_EQ(one.status, 0) << one.err;
    EXPECT_TRUE(read(directory + "/b/still.tnc") == first);
    EXPECT_FALSE(read(render("still", "c", "--seed 6") + ".tnc") == first);
}

TEST_F(Sample, SmallestPictures) {
    for (std::string size : {"1x1", "1x40", "300x1"}) {
        std::string words = "tinct-sample chair ";
        run_result r = run(words.append(size).append(" --size ").append(size));
        EXPECT_EQ(r.status, 0) << size << r.err;
        EXPECT_EQ(run("tinct-batch info " + size + "/chair.tnc").status, 0) << size;
    }
}

TEST_F(Sample, TellsScenesAndSurfaces) {
    run_result list = run("tinct-sample --list");
    EXPECT_EQ(list.status, 0);
    for (const char* scene : {"still", "room", "chair"})
        EXPECT_NE(list.out.find(scene), std::string::npos) << scene;
    EXPECT_NE(run("tinct-sample --pens still").out.find("Table cloth"), std::string::npos);
    EXPECT_EQ(run("tinct-sample --help").status, 0);
}

TEST_F(Sample, WrongUsageAndFailuresLeaveNothing) {
    for (std::string words :
         {"", "still", "nothing out", "still out --size", "still out --size 0x5", "still out --size 9",
          "still out --size 70000x5", "still out --size 5x5x5", "still out --compress zip", "still out --seed -1",
          "still out more", "still out --unknown", "--pens", "--pens nothing", "--pens still more", "--list more"}) {
        run_result r = run("tinct-sample " + words);
        EXPECT_EQ(r.status, 2) << words;
        EXPECT_FALSE(r.err.empty()) << words;
    }
    write("file", "x");
    EXPECT_EQ(run("tinct-sample still file/below --size 8x6").status, 1);
    EXPECT_EQ(run("tinct-sample still file --size 8x6").status, 1);
    // a directory stands where one of the files is to go
    std::filesystem::create_directories(directory + "/blocked/still.tnc/x");
    write("blocked/still.rgb", "precious");
    run_result r = run("tinct-sample still blocked --size 8x6");
    EXPECT_EQ(r.status, 1);
    EXPECT_FALSE(r.err.empty());
    EXPECT_EQ(read(directory + "/blocked/still.rgb"), "precious");
    EXPECT_EQ(files().size(), 2u);
}

std::vector<uint8_t> decoded(const std::string& path) {
    std::vector<uint8_t> bytes;
    file_reader* reader = reader_open(path.c_str());
    decompress_context* context = decompress_open(reader);
    for (int byte = decompress_getc(context); byte >= 0; byte = decompress_getc(context)) {
        bytes.push_back(static_cast<uint8_t>(byte));
    }
    EXPECT_FALSE(decompress_is_damaged(context));
    decompress_close(context);
    reader_close(reader);
    return bytes;
}

TEST_F(Sample, CompressedStreamsReadBack) {
    // short ones, one that grows through all widths and clears the table, and one whose strings would grow too long
    std::vector<std::vector<uint8_t>> texts = {{7}, {1, 1, 1, 1, 1, 1}, {}, std::vector<uint8_t>(36'000'000, 0xFB)};
    uint32_t state = 1;
    for (int i = 0; i < 600'000; ++i) {
        state = state * 1664525u + 1013904223u;
        texts[2].push_back(static_cast<uint8_t>(state >> 24 & (i % 5000 < 2500 ? 0x0Fu : 0xFFu)));
    }
    for (const std::vector<uint8_t>& text : texts) {
        std::vector<uint8_t> coded;
        compressor c;
        compress_begin(&c, &coded);
        compress_bytes(&c, text.data(), text.size());
        compress_end(&c);
        std::string path = write("stream.Z", {coded.begin(), coded.end()});
        EXPECT_TRUE(decoded(path) == text) << text.size();
    }
}

} // namespace
