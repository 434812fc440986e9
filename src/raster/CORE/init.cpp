// The initial state of a handle, and the release of what it owns.
#include "raster/CCITT/citfile.h"
#include "raster/CORE/module.h"

#include "platform/files.h"
#include "raster/CORE/fileword.h"
#include "support/memory.h"

bool rzl_init_cfile(CFILE* c) {
    *c = CFILE{};
    c->magic = CFILE_MAGIC;
    c->samples = 1;
    c->bits = 8;
    c->format = RZL_FORMAT_BYTE;
    c->standard = -1;
    c->flags = FLAG_FIELD_404;
    c->active_overview = OVERVIEW_BASE;
    c->lock = lock_new();
    rzl_set_default_slots(c);
    return c->lock != nullptr;
}

void free_tile_record(CFILE* c) {
    set_flag(c, FLAG_TILED, false);
    if (c->tile == nullptr) return;
    mem_free(c->tile->row_buffer);
    mem_free(c->tile->packet);
    mem_free(c->tile);
    c->tile = nullptr;
}

void free_squetch_record(CFILE* c) {
    set_flag(c, FLAG_SQUETCH, false);
    squetch_record* squetch = c->squetch;
    if (squetch == nullptr) return;
    for (int i = 0; i < squetch->channels; ++i) {
        if (squetch->line_buffers != nullptr) mem_free(squetch->line_buffers[i]);
        if (squetch->accumulators != nullptr) mem_free(squetch->accumulators[i]);
    }
    mem_free(squetch->line_buffers);
    mem_free(squetch->accumulators);
    mem_free(squetch);
    c->squetch = nullptr;
}

void free_cfile_parts(CFILE* c) {
    mem_free(c->ahead.buffer);
    mem_free(c->name);
    mem_free(c->buffer_a);
    mem_free(c->buffer_d);
    if (c->buffer_b_owned) mem_free(c->buffer_b);
    if (c->buffer_c_owned) mem_free(c->buffer_c);
    mem_free(c->color_table);
    mem_free(c->line_offsets);
    free_squetch_record(c);
    free_tile_record(c);
    cit_file_release(c->ccitt);
    mem_free(c->ccitt);
    mem_free(c->jpeg);
}

int close_cfile_file(CFILE* c) {
    if (c->file != nullptr) io_settle(c);
    rzl_drop_mapping(c);
    if (c->file == nullptr) return 0;
    bool shared = uses_handle_slots(c) && files_is_standard_input(handle_of_word(c->file));
    // The standard output is a stream that closing only flushes, and that then also tells of earlier failures.
    int result = shared ? c->io.file_flush(c->file) : c->io.file_close(c->file);
    c->file = nullptr;
    return result;
}

void free_cfile(CFILE* c) {
    c->magic = 0; // whoever still holds the handle is to be refused, as far as that can be told
    lock_free(c->lock);
    mem_free(c);
}

void abandon_cfile(CFILE* c) {
    if (c->status != 0) set_last_status(c->status);
    if (c->module != nullptr) c->slots.Free_specs(c);
    // A record of a file in memory stays the application's, which was given no handle to close.
    if (has_flag(c, FLAG_MEMORY)) c->file = nullptr;
    (void)close_cfile_file(c);
    mem_free(c->spec);
    free_cfile_parts(c);
    free_cfile(c);
}
