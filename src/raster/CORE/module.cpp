// Format modules: a module's record and slots on a handle, and the bodies of slots that most modules need no code for.
#include "raster/CORE/module.h"

#include <algorithm>
#include <cstring>

#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "CORE/module";

int leave_answer(CFILE*, int32_t, void*) {
    return 0;
}
int take_nothing(CFILE*, int32_t, const void*) {
    return 0;
}
int format_of_handle(CFILE* c) {
    return c->format;
}
void nothing_to_do(CFILE*) {}

// The generic bodies for what the table leaves out.
format_slots completed(const format_slots& table) {
    format_slots s = table;
    if (s.Getline == nullptr && s.Get_line != nullptr) s.Getline = rzl_getline_generic;
    if (s.Putline == nullptr && s.Put_line != nullptr) s.Putline = rzl_putline_generic;
    if (s.Get_hdr_data == nullptr) s.Get_hdr_data = leave_answer;
    if (s.Set_hdr_data == nullptr) s.Set_hdr_data = take_nothing;
    if (s.Get_stat == nullptr) s.Get_stat = rzl_get_stat_of_fields;
    if (s.Set_stat == nullptr) s.Set_stat = rzl_set_stat_of_fields;
    if (s.Get_vlt == nullptr) s.Get_vlt = rzl_get_vlt_of_table;
    if (s.Get_format == nullptr) s.Get_format = format_of_handle;
    if (s.Seek == nullptr) s.Seek = rzl_seek_generic;
    if (s.Rewind == nullptr) s.Rewind = rzl_rewind_generic;
    if (s.Close == nullptr) s.Close = nothing_to_do;
    if (s.Free_specs == nullptr) s.Free_specs = nothing_to_do;
    return s;
}

} // namespace

bool install_module(CFILE* c, const format_module* module) {
    c->module = module;
    install_slots(c, completed(*module->slots));
    if (module->spec_size == 0) return true;
    c->spec = mem_alloc_zeroed(module->spec_size);
    return c->spec != nullptr || fails(c, RZL_NO_MEMORY, module->word, nullptr);
}

void drop_module(CFILE* c) {
    if (c->module != nullptr) c->slots.Free_specs(c);
    mem_free(c->spec);
    c->spec = nullptr;
    c->module = nullptr;
    rzl_set_default_slots(c);
}

int rzl_randomize_nothing(CFILE*) {
    return 0;
}

bool keep_name(CFILE* c, const char* name) {
    size_t size = name != nullptr ? std::strlen(name) + 1 : 1;
    auto* copy = static_cast<char*>(mem_alloc(size));
    if (copy == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, "name");
    std::memcpy(copy, name != nullptr ? name : "", size);
    mem_free(c->name);
    c->name = copy;
    return true;
}

int rzl_get_vlt_of_table(CFILE* c, rzl_vlt_entry* entries) {
    alignas(8) uint8_t value[FIELD_MOST_BYTES] = {};
    if (get_module_field(c, RZL_FIELD_VLT_ENTRIES, value) != 0) return 1;
    int32_t count = std::min(int_of(value), 256);
    const char* source = c->module != nullptr ? c->module->word : SOURCE;
    if (c->color_table == nullptr || count <= 0) return refuse(c, RZL_NO_VLT, source, "Get_vlt");
    give_vlt(c->color_table, static_cast<size_t>(count), c->vlt_bits, entries);
    return 0;
}

int rzl_take_format(CFILE* c, int32_t format, uint32_t refusal, const char* source, int line) {
    std::span<const int32_t> formats = c->module->formats;
    if (std::find(formats.begin(), formats.end(), format) == formats.end())
        return refuse(c, refusal, source, nullptr, line);
    (void)format_layout(format, &c->samples, &c->bits);
    c->format = format;
    return 0;
}
