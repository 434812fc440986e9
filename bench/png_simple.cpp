// What PNG files are measured against: libpng's simplified interface, which has a picture whole, in a program of its
// own for bench/peers/coded.sh:
//   png_simple read FILE.png          the pixels to standard output
//   png_simple write FILE.ppm FILE.png
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <png.h>

namespace {

[[noreturn]] void stop(const char* what) {
    std::fprintf(stderr, "png_simple: %s\n", what);
    std::exit(1);
}

int read_file(const char* name) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, name) == 0) stop(image.message);
    image.format = PNG_FORMAT_RGB;
    std::vector<unsigned char> pixels(PNG_IMAGE_SIZE(image));
    if (png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr) == 0) stop(image.message);
    return std::fwrite(pixels.data(), 1, pixels.size(), stdout) == pixels.size() ? 0 : 1;
}

int write_file(const char* from, const char* name) {
    std::FILE* in = std::fopen(from, "rb");
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.format = PNG_FORMAT_RGB;
    const bool read = in != nullptr && std::fscanf(in, "P6 %u %u 255", &image.width, &image.height) == 2; // NOLINT
    if (!read) stop("no picture");
    (void)std::fgetc(in);
    std::vector<unsigned char> pixels(PNG_IMAGE_SIZE(image));
    if (std::fread(pixels.data(), 1, pixels.size(), in) != pixels.size()) stop("the picture is cut");
    std::fclose(in);
    if (png_image_write_to_file(&image, name, 0, pixels.data(), 0, nullptr) == 0) stop(image.message);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "read") == 0) return read_file(argv[2]);
    if (argc == 4 && std::strcmp(argv[1], "write") == 0) return write_file(argv[2], argv[3]);
    stop("read FILE.png, or write FILE.ppm FILE.png");
}
