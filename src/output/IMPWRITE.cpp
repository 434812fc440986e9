// Pours a pack into a raster file through the raster library, and saves the picture's planes.
//
// The file is opened under its last component from inside its directory, so that a path longer than the library's limit
// on names can still be written. The process is back in the directory where it was on every way out.
#include <cstdio>
#include <cstring>

#include "output/imp.h"
#include "platform/files.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "IMPWRITE.c";
constexpr int32_t TOP_DOWN = 4;
constexpr int32_t BOTTOM_UP = 6;
constexpr int32_t VLT_TYPE_ENTRIES = 2;

// The library's word for what has just failed, which is kept.
int library_status() {
    rzl_get_global(RZL_GLOBAL_STATUS, &imp_raster_status);
    return static_cast<int>(imp_raster_status);
}

// ---- directory ---------------------------------------------------------------------------------------------------

// Where the process was, and the name to open from inside the file's directory.
struct place {
    char before[FILES_PATH_SIZE];
    char full[FILES_PATH_SIZE];
    const char* name;
};

bool enter_directory(const char* file, place* at) {
    if (!files_working_directory(at->before, sizeof at->before)) return false;
    if (!files_full_path(file, at->full, sizeof at->full)) return false;
    at->name = imp_file_name(at->full);
    if (at->name[0] == '\0') return false;
    char directory[FILES_PATH_SIZE];
    auto length = static_cast<size_t>(at->name - at->full);
    std::memcpy(directory, at->full, length);
    directory[length] = '\0';
    return length == 0 || files_change_directory(directory);
}

bool leave_directory(const place* at) {
    return files_change_directory(at->before);
}

// ---- header ------------------------------------------------------------------------------------------------------

bool set_field(CFILE* file, int32_t field, int32_t value) {
    return rzl_set_hdr_data(file, field, &value) == 0;
}

// The fields that only some standards know; a refusal is no failure.
void set_optional_fields(CFILE* file, const Impack* pack) {
    set_field(file, RZL_FIELD_APP_VALUE_1, pack->app_value_1);
    set_field(file, RZL_FIELD_APP_VALUE_2, pack->app_value_2);
    set_field(file, RZL_FIELD_APP_VALUE_3, pack->app_value_3);
    set_field(file, RZL_FIELD_ORIENTATION, pack->standard == RZL_STANDARD_BMP ? BOTTOM_UP : TOP_DOWN);
}

bool set_header(CFILE* file, const Impack* pack, int32_t compression) {
    if (!set_field(file, RZL_FIELD_STANDARD, pack->standard)) return false;
    // A standard that this build has no module for leaves the file a native one, which is not what was asked for.
    int32_t standard = -1;
    if (rzl_get_hdr_data(file, RZL_FIELD_STANDARD, &standard) != 0 || standard != pack->standard) return false;
    if (!set_field(file, RZL_FIELD_FORMAT, pack->format)) return false;
    bool takes_compression = compression == 0 || compression == 1 || compression == 5;
    if (pack->standard == RZL_STANDARD_TIFF && takes_compression) {
        set_field(file, RZL_FIELD_COMPRESSION, compression);
    }
    if (!set_field(file, RZL_FIELD_XSIZE, pack->xsize)) return false;
    if (!set_field(file, RZL_FIELD_YSIZE, pack->ysize)) return false;
    set_optional_fields(file, pack);
    return true;
}

bool announce_table(CFILE* file, const Impack* pack) {
    if (pack->vlt_count <= 0) return true;
    return set_field(file, RZL_FIELD_VLT_TYPE, VLT_TYPE_ENTRIES) &&
           set_field(file, RZL_FIELD_VLT_ENTRIES, pack->vlt_count);
}

// ---- lines -------------------------------------------------------------------------------------------------------

// A plane that the pack has not got stays null, and is zero in the file.
const uint8_t* plane_line(const uint8_t* plane, int64_t offset) {
    return plane != nullptr ? plane + offset : nullptr;
}

// Whether the table is one of grey levels.
bool is_grey(const Impack* pack) {
    for (int32_t i = 0; pack->vlt != nullptr && i < pack->vlt_count; ++i) {
        const rzl_vlt_entry& entry = pack->vlt[i];
        if (entry.red != entry.green || entry.red != entry.blue) return false;
    }
    return true;
}

// Whether the standard can't hold what the pixels of one plane stand for: colours without a table, or more of them than
// its table has entries; levels are of all 256.
bool loses_pixels(const Impack* pack) {
    if (pack->index_plane == nullptr) return false;
    if (rzl_standard_has_table(pack->standard) == 0) return !is_grey(pack);
    return (pack->vlt_count > 0 ? pack->vlt_count : IMP_COLORS_MAX) > imp_most_colors(pack->standard);
}

// Grey levels for a file without a table: the levels themselves, in the place of their numbers.
bool put_levels(CFILE* file, const Impack* pack, int64_t offset) {
    uint8_t levels[256] = {};
    for (int32_t i = 0; i < pack->vlt_count && i < 256; ++i)
        levels[pack->vlt[i].slot & 0xFF] = static_cast<uint8_t>(pack->vlt[i].red >> 8);
    mem_guard<uint8_t> line(mem_new_array<uint8_t>(static_cast<size_t>(pack->xsize)));
    for (int32_t x = 0; line && x < pack->xsize; ++x)
        line[static_cast<size_t>(x)] = levels[pack->index_plane[offset + x]];
    return line && rzl_putline(file, line.get()) == 0;
}

bool write_line(CFILE* file, const Impack* pack, int64_t offset) {
    bool levels = pack->index_plane != nullptr && pack->vlt != nullptr && rzl_standard_has_table(pack->standard) == 0;
    if (levels) return put_levels(file, pack, offset);
    if (pack->index_plane != nullptr) return rzl_putline(file, pack->index_plane + offset) == 0;
    return rzl_putline3(file, plane_line(pack->red_plane, offset), plane_line(pack->green_plane, offset),
                        plane_line(pack->blue_plane, offset)) == 0;
}

void tell_line(imp_progress* p, const Impack* pack, int32_t line) {
    bool is_last = line == pack->ysize;
    if (p->msg_interval > 0) {
        bool due = imp_message_due(p) || is_last;
        if (due && imp_wants(p, IMP_MESSAGE_BANNER | IMP_MESSAGE_LINES)) {
            imp_tell(p, IMP_MESSAGE_LINES, "Line %5d/%5d\r", line, pack->ysize);
        }
        if (is_last && imp_wants(p, IMP_MESSAGE_LINES)) {
            imp_tell(p, IMP_MESSAGE_LINES, "Line %5d/%5d\n", line, pack->ysize);
        }
    }
    if (is_last && imp_wants(p, IMP_MESSAGE_FLUSH)) {
        imp_tell(p, IMP_MESSAGE_FLUSH, "Flushing file : %s.   Standby.\n", imp_name_of(pack));
    }
}

int write_lines(CFILE* file, const Impack* pack, imp_progress* p) {
    // A BMP file stores its last line first.
    bool bottom_up = pack->standard == RZL_STANDARD_BMP;
    int64_t step = bottom_up ? -int64_t{pack->xsize} : int64_t{pack->xsize};
    int64_t offset = bottom_up ? pack->pixels - pack->xsize : 0;
    for (int32_t line = 1; line <= pack->ysize; ++line) {
        tell_line(p, pack, line);
        if (!write_line(file, pack, offset)) return IMP_TRUNCATED;
        offset += step;
        if (imp_line_stops(p)) return IMP_STOPPED;
    }
    return IMP_OK;
}

// ---- the whole file ----------------------------------------------------------------------------------------------

int say_write_failed(const char* file, int line) {
    return imp_fail_saying(IMP_WRITE_FAILED, "Error writing file: %s. Line %d, File %s, rzlerr %d\n", file, line,
                           SOURCE, library_status());
}

int say_truncated(const char* file, int line) {
    return imp_fail_saying(IMP_TRUNCATED, "File truncated: %s.  Line %d, File %s, rzlerr %d\n", file, line, SOURCE,
                           library_status());
}

// The header with its table. IMP_OK, or the code after its message.
int write_header(CFILE* file, const char* name, const Impack* pack, int32_t compression) {
    if (!set_header(file, pack, compression)) return say_write_failed(name, __LINE__);
    if (!announce_table(file, pack)) {
        return imp_fail_saying(IMP_WRITE_FAILED, "Error writing file: %s. Line %d, File %s, rzlerr %d, sts %d\n", name,
                               __LINE__, SOURCE, library_status(), 1);
    }
    bool has_table = pack->vlt == nullptr || rzl_put_vlt(file, pack->vlt) == 0;
    return has_table && rzl_write_header(file) == 0 ? static_cast<int>(IMP_OK) : say_write_failed(name, __LINE__);
}

int write_open_file(CFILE* file, const char* name, const Impack* pack, int32_t compression, imp_progress* p) {
    int code = write_header(file, name, pack, compression);
    if (code != IMP_OK) {
        rzl_close(file);
        return code;
    }
    code = write_lines(file, pack, p);
    if (code == IMP_TRUNCATED) say_truncated(name, __LINE__);
    // What the buffers still held may fail to reach the disk: that file is truncated as well.
    uint32_t closing = rzl_finish(file);
    if (code == IMP_OK && closing != 0) code = say_truncated(name, __LINE__);
    return code;
}

int check_request(const Impack* pack, const char* file) {
    if (file == nullptr) return imp_fail_saying(IMP_BAD_FILE, "Null file name. Line %d, file %s\n", __LINE__, SOURCE);
    int code = imp_check_pack(pack, __LINE__, SOURCE);
    if (code != IMP_OK) return code;
    if (imp_standard_ok(pack->standard) == 0) {
        return imp_fail_saying(IMP_BAD_STANDARD, "Unsupported standard: %d. Line %d, file %s\n", pack->standard,
                               __LINE__, SOURCE);
    }
    if (imp_format_ok(pack->standard, pack->format) == 0 || loses_pixels(pack)) {
        return imp_fail_saying(IMP_BAD_FORMAT, "Unsupported format: %d. Line %d, file %s\n", pack->format, __LINE__,
                               SOURCE);
    }
    return IMP_OK;
}

void tell_banner(const imp_progress* p, const Impack* pack) {
    if (!imp_wants(p, IMP_MESSAGE_BANNER)) return;
    imp_tell(p, IMP_MESSAGE_BANNER, "Writing file : ");
    imp_tell(p, IMP_MESSAGE_BANNER, "       %s", imp_name_of(pack));
}

} // namespace

int imp_write(Impack* pack, const char* file, int32_t compression, uint32_t stop_mask, int32_t stop_interval,
              imp_stop_function stop_fn, uint32_t msg_mask, int32_t msg_interval, imp_log_function log_fn) {
    imp_progress p = {stop_mask, stop_interval, stop_fn, msg_mask, msg_interval, log_fn, 0, 0};
    imp_raster_status = 0;
    tell_banner(&p, pack);
    int code = check_request(pack, file);
    if (code != IMP_OK) return code;
    mem_guard<place> at(mem_new<place>());
    if (!at) return imp_fail(IMP_NO_MEMORY);
    if (!enter_directory(file, at.get())) return say_write_failed(file, __LINE__);
    // Creating a catalog would write over all of its members.
    CFILE* opened = rzl_is_catalog(at->name) == 0 ? rzl_open_w(at->name) : nullptr;
    if (opened == nullptr) {
        code = imp_fail_saying(IMP_WRITE_FAILED, "Couldnt open file for writing: %s. Line %d, File %s, rzlerr %d\n",
                               file, __LINE__, SOURCE, library_status());
    } else {
        code = write_open_file(opened, at->name, pack, compression, &p);
    }
    if (!leave_directory(at.get()) && code == IMP_OK) code = say_write_failed(file, __LINE__);
    return code;
}
