// Opening a pair, and applying colours and patterns to it.
#include "core/open_image.h"

#include <cstring>

#include "platform/files.h"
#include "raster/rzl.h"
#include "support/log.h"
#include "support/memory.h"

open_image_state open_image = {};

namespace {

bool is_plain_name(const char* path) {
    return std::strncmp(path, "/INMEM/", 7) != 0;
}

// The height of the raster; 0 after a message when it can't be opened.
int32_t raster_height(const char* path) {
    int32_t height = 0;
    // A name of the library's files in memory is no file of the user's.
    CFILE* file = is_plain_name(path) ? rzl_open_r(path) : nullptr;
    if (file == nullptr) {
        log_message(LOG_WARNING, "Failed to open \"%s\" for read as RGB file.\n", path);
        return 0;
    }
    rzl_get_hdr_data(file, RZL_FIELD_YSIZE, &height);
    rzl_close(file);
    return height;
}

void drop_tnc() {
    tnc_free(open_image.tnc);
    mem_free(open_image.tnc_path);
    open_image.tnc = nullptr;
    open_image.tnc_path = nullptr;
}

void drop_picture() {
    raster_image_free(open_image.picture);
    open_image.picture = nullptr;
}

void clear_appliques() {
    for (applique*& a : open_image.appliques) {
        applique_free(a);
        a = nullptr;
    }
}

// Replaces the rendered-image data. The raster path is remembered with it: it alone tells whether the same image comes
// again.
bool read_tnc(const char* tnc_path, int32_t line_count) {
    drop_tnc();
    int32_t columns = open_image.picture != nullptr ? open_image.picture->width : 1;
    open_image.tnc = tnc_read_picture(tnc_path, line_count, columns);
    open_image.tnc_path = mem_copy_text(tnc_path);
    return open_image.tnc != nullptr && open_image.tnc_path != nullptr;
}

bool same_raster(const char* raster_path) {
    return open_image.raster_path != nullptr && open_image.tnc != nullptr &&
           std::strcmp(open_image.raster_path, raster_path) == 0;
}

bool load_picture(const char* raster_path) {
    // The whole picture is wanted whatever its size: what a limit cut off could not be saved again.
    open_image.picture = load_image(raster_path, INT32_MAX, INT32_MAX);
    open_image.image_changed = false;
    return open_image.picture != nullptr;
}

// The pass over the pen's pixels, between the two calls of the display.
bool reevaluate(int pen, const applique* present, const applique* next) {
    const image_display* display = &open_image.display;
    if (display->pass_begins != nullptr) display->pass_begins();
    bool done = reevaluate_pen(open_image.picture, open_image.tnc, open_image.rows_changed, present, next, pen) != 0;
    if (display->pass_ends != nullptr) display->pass_ends(pen, done);
    return done;
}

// Puts the new applique in the pen's place after the planes have taken it.
void store_applique(int pen, applique* a) {
    applique_free(open_image.appliques[pen]);
    open_image.appliques[pen] = a;
    open_image.image_changed = true;
}

} // namespace

int image_open(const char* path) {
    char raster_path[FILES_PATH_SIZE];
    if (!find_companion(path, raster_path, sizeof raster_path)) {
        log_message(LOG_WARNING, "The path \"%.200s\" is too long.\n", path);
        return 0;
    }
    if (check_pair(path, raster_path) == 0) return 0;
    mem_guard<char> remembered(mem_copy_text(raster_path));
    if (!remembered) {
        log_message(LOG_WARNING, "Failed to allocate memory for image structure.\n");
        return 0;
    }
    bool keeps_tnc = open_image.picture != nullptr && same_raster(raster_path);
    drop_picture();
    // The picture comes first: a raster that holds fewer lines than it claims is to cost no memory for their samples.
    int32_t height = keeps_tnc ? 0 : raster_height(raster_path);
    bool loaded = load_picture(raster_path);
    bool good = keeps_tnc || read_tnc(path, loaded ? height : 0);
    clear_appliques();
    mem_free(open_image.raster_path);
    open_image.raster_path = remembered.keep();
    if (!good) drop_picture();
    if (open_image.display.replaced != nullptr) open_image.display.replaced();
    return good && loaded ? 1 : 0;
}

void image_close() {
    drop_picture();
    drop_tnc();
    clear_appliques();
    mem_free(open_image.raster_path);
    open_image.raster_path = nullptr;
    open_image.image_changed = false;
    applique_free_all();
}

int apply_col_pat(int pen, applique* a) {
    if (pen < 0 || pen >= PEN_COUNT) {
        log_message(LOG_WARNING, "apply_col_pat : pen = %d\n", pen);
        applique_free(a);
        return 0;
    }
    if (open_image.picture == nullptr || open_image.tnc == nullptr) {
        log_message(LOG_WARNING, "There is no image to apply to.\n");
        applique_free(a);
        return 0;
    }
    if (a == nullptr) return 0; // there is no way back to the rendered state but to open the image again
    applique* present = open_image.appliques[pen];
    if (applique_equal(present, a) != 0) {
        applique_free(a);
        if (open_image.display.kept != nullptr) open_image.display.kept(pen);
        return 1;
    }
    if (!reevaluate(pen, present, a)) {
        applique_free(a);
        return 0;
    }
    store_applique(pen, a);
    return 1;
}
