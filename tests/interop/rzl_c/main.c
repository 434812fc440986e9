/* Writes a small native file with the installed library, reads it back, compares, and prints one line. */
#include <rzl.h>
#include <stdio.h>
#include <string.h>

enum { WIDTH = 33, HEIGHT = 17 };

static uint8_t value_at(int plane, int line, int x) {
    return (uint8_t)(plane * 85 + line * 7 + x / 3);
}

static void fill(uint8_t planes[3][WIDTH], int line) {
    int plane, x;
    for (plane = 0; plane < 3; ++plane) {
        for (x = 0; x < WIDTH; ++x)
            planes[plane][x] = value_at(plane, line, x);
    }
}

static int write_picture(const char* name) {
    int32_t standard = RZL_STANDARD_KRVN, format = RZL_FORMAT_PLANE_RUNS, width = WIDTH, height = HEIGHT;
    uint8_t planes[3][WIDTH];
    int line;
    int failed = 0;
    CFILE* file = rzl_open_w(name);
    if (file == NULL) return 1;
    failed |= rzl_set_hdr_data(file, RZL_FIELD_STANDARD, &standard);
    failed |= rzl_set_hdr_data(file, RZL_FIELD_FORMAT, &format);
    failed |= rzl_set_hdr_data(file, RZL_FIELD_XSIZE, &width);
    failed |= rzl_set_hdr_data(file, RZL_FIELD_YSIZE, &height);
    for (line = 0; line < HEIGHT; ++line) {
        fill(planes, line);
        failed |= rzl_putline3(file, planes[0], planes[1], planes[2]);
    }
    return rzl_finish(file) != 0 || failed;
}

static int read_picture(const char* name) {
    int32_t width = 0, height = 0;
    uint8_t planes[3][WIDTH], expected[3][WIDTH];
    int line;
    int failed = 0;
    CFILE* file = rzl_open_r(name);
    if (file == NULL) return 1;
    failed |= rzl_get_hdr_data(file, RZL_FIELD_XSIZE, &width);
    failed |= rzl_get_hdr_data(file, RZL_FIELD_YSIZE, &height);
    failed |= width != WIDTH || height != HEIGHT;
    for (line = 0; line < HEIGHT && !failed; ++line) {
        fill(expected, line);
        failed |= rzl_getline3(file, planes[0], planes[1], planes[2]);
        failed |= memcmp(planes, expected, sizeof planes) != 0;
    }
    return rzl_finish(file) != 0 || failed;
}

int main(int count, char** arguments) {
    uint32_t status = 0;
    int failed;
    if (count != 2) return 2;
    failed = write_picture(arguments[1]) || read_picture(arguments[1]);
    rzl_get_global(RZL_GLOBAL_STATUS, &status);
    remove(arguments[1]);
    if (failed) {
        printf("failed: %s\n", rzl_status_text(status));
        return 1;
    }
    printf("%s: %d x %d pixels written and read back\n", RZL_VERSION, WIDTH, HEIGHT);
    return 0;
}
