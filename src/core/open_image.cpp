// Opening a pair and closing it.
#include "core/open_image.h"

#include <cstring>

#include "platform/files.h"
#include "raster/rzl.h"
#include "support/log.h"
#include "support/memory.h"
#include "surface/patterncache.h"

open_image_state open_image = {};

namespace {

bool is_plain_name(const char* path) {
    return std::strncmp(path, "/INMEM/", 7) != 0;
}

// The height of the raster; false after a message when it can't be opened.
bool raster_height(const char* path, int32_t* height) {
    // A name of the library's files in memory is no file of the user's.
    CFILE* file = is_plain_name(path) ? rzl_open_r(path) : nullptr;
    if (file == nullptr) {
        log_message(LOG_WARNING, "Failed to open \"%s\" for read as RGB file.\n", path);
        return false;
    }
    *height = 0;
    rzl_get_hdr_data(file, RZL_FIELD_YSIZE, height);
    rzl_close(file);
    return true;
}

file_stamp stamp_of(const char* path) {
    return {files_size_of(path), files_changed_at(path)};
}

bool same_stamp(file_stamp a, file_stamp b) {
    return a.size == b.size && a.time == b.time && a.size >= 0;
}

// What is opened, until it is whole and takes the place of what was open before. All of it is owned.
struct fresh_image {
    raster_image* picture;
    tnc_image* tnc; // null: the present one stays
    char* tnc_path;
    char* raster_path;
    file_stamp tnc_stamp, raster_stamp;
    span_room room;
};

void fresh_free(fresh_image* f) {
    raster_image_free(f->picture);
    tnc_free(f->tnc);
    mem_free(f->tnc_path);
    mem_free(f->raster_path);
    span_room_free(&f->room);
}

bool remember_paths(fresh_image* f, const char* tnc_path, const char* raster_path) {
    f->tnc_path = mem_copy_text(tnc_path);
    f->raster_path = mem_copy_text(raster_path);
    f->tnc_stamp = stamp_of(tnc_path);
    f->raster_stamp = stamp_of(raster_path);
    if (f->tnc_path != nullptr && f->raster_path != nullptr) return true;
    log_message(LOG_WARNING, "Failed to allocate memory for image structure.\n");
    return false;
}

// The raster's path tells that the same image comes again, as long as both files are what they were.
bool is_open_already(const fresh_image* f) {
    return open_image.tnc != nullptr && std::strcmp(open_image.raster_path, f->raster_path) == 0 &&
           same_stamp(open_image.tnc_stamp, f->tnc_stamp) && same_stamp(open_image.raster_stamp, f->raster_stamp);
}

// The picture comes first: a raster that holds fewer lines than it claims is to cost no memory for their samples.
bool read_files(fresh_image* f) {
    int32_t height = 0;
    if (!raster_height(f->raster_path, &height)) return false;
    // The whole picture is wanted whatever its size: what a limit cut off could not be saved again.
    f->picture = load_image(f->raster_path, INT32_MAX, INT32_MAX);
    if (f->picture == nullptr) return false;
    if (!span_room_init(&f->room, f->picture->width)) {
        log_message(LOG_WARNING, "Failed to allocate memory for image structure.\n");
        return false;
    }
    if (is_open_already(f)) return true;
    f->tnc = tnc_try_read(f->tnc_path, height, f->picture->width);
    if (f->tnc != nullptr && !f->tnc->complete && !f->tnc->reason_told)
        log_message(LOG_WARNING, "\"%s\" ends early: the file is cut.\n", f->tnc_path);
    return f->tnc != nullptr;
}

void drop_changes() {
    image_commit(); // what a drag owns goes to the steps
    history_clear(&open_image.steps);
    for (applique*& a : open_image.appliques) {
        applique_free(a);
        a = nullptr;
    }
    open_image.image_changed = false;
}

// Releases what is open; the rendered-image data too, unless it is to stay.
void drop_image(bool with_tnc) {
    drop_changes();
    raster_image_free(open_image.picture);
    open_image.picture = nullptr;
    span_room_free(&open_image.room);
    mem_free(open_image.tnc_path);
    mem_free(open_image.raster_path);
    open_image.tnc_path = open_image.raster_path = nullptr;
    if (!with_tnc) return;
    tnc_free(open_image.tnc);
    open_image.tnc = nullptr;
}

void put_in_place(const fresh_image* f) {
    drop_image(f->tnc != nullptr);
    open_image.picture = f->picture;
    if (f->tnc != nullptr) open_image.tnc = f->tnc;
    open_image.tnc_path = f->tnc_path;
    open_image.raster_path = f->raster_path;
    open_image.tnc_stamp = f->tnc_stamp;
    open_image.raster_stamp = f->raster_stamp;
    open_image.room = f->room;
}

} // namespace

int image_open(const char* path) {
    char raster_path[FILES_PATH_SIZE];
    if (!find_companion(path, raster_path, sizeof raster_path)) {
        log_message(LOG_WARNING, "The path \"%.200s\" is too long.\n", path);
        return 0;
    }
    if (!files_exists(path)) return 0; // find_companion() has told that it can't be opened
    if (check_pair(path, raster_path) == 0) return 0;
    fresh_image fresh = {};
    if (!remember_paths(&fresh, path, raster_path) || !read_files(&fresh)) {
        fresh_free(&fresh);
        return 0;
    }
    put_in_place(&fresh);
    if (open_image.display.replaced != nullptr) open_image.display.replaced();
    return 1;
}

void image_close() {
    drop_image(true);
    applique_free_all();
    pattern_cache_clear();
}

void image_mark_unchanged() {
    open_image.image_changed = false;
    open_image.drag.changed = true; // a drag that is under way leads back to another state
    for (int i = 0; i < open_image.steps.count; ++i)
        open_image.steps.steps[i].changed = true;
}
