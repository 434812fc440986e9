// The default of every format slot: what a module that does not implement a slot answers. Most refuse with
// RZL_UNSUPPORTED and the slot's word; a few are real code, because what they do is right for every format.
#include <algorithm>
#include <cstddef>

#include "raster/CORE/cfile.h"

namespace {

constexpr char SOURCE[] = "CORE/dummy";

// A word as a template argument, so that each slot's default is a function of its own with the slot's word in it.
template <size_t Size> struct slot_word {
    char text[Size];
    // Not explicit: the word is given as a plain literal.
    constexpr slot_word(const char (&word)[Size]) { std::copy_n(word, Size, text); }
};

bool is_usable(const CFILE* c) {
    return c != nullptr && c->magic == CFILE_MAGIC;
}

// Sets the status that a default answers with. False for a handle that is not valid.
bool refuse_on(CFILE* c, const char* word) {
    if (is_usable(c)) {
        fail(c, RZL_UNSUPPORTED, SOURCE, word);
        return true;
    }
    return fails(nullptr, RZL_BAD_CFILE, SOURCE, word);
}

// A default with a result: OnNull for a handle that is not valid, else OnValid.
template <slot_word Word, int OnNull, int OnValid, typename... Arguments> int refuse(CFILE* c, Arguments...) {
    return refuse_on(c, Word.text) ? OnValid : OnNull;
}

template <slot_word Word, typename... Arguments> void refuse_silently(CFILE* c, Arguments...) {
    (void)refuse_on(c, Word.text);
}

template <slot_word Word> int64_t refuse_offset(CFILE* c) {
    (void)refuse_on(c, Word.text);
    return 0;
}

// Slots of two handles set the status of both.
template <slot_word Word> int refuse_pair(CFILE* from, CFILE* to) {
    (void)refuse_on(from, Word.text);
    (void)refuse_on(to, Word.text);
    return 1;
}

// The base image, the only image there is: selecting it is no change.
int default_setactiveov(CFILE* c, int32_t overview) {
    return overview < 0 ? 0 : refuse<"setactiveov", 1, 1>(c);
}

int default_set_number_of_images(CFILE* c, int32_t count) {
    return count == 1 ? 0 : refuse<"Set Number of Images", 1, 1>(c);
}

int default_set_active_image(CFILE* c, int32_t image) {
    return image == 0 ? 0 : refuse<"Set Active Image", 1, 1>(c);
}

int default_get_number_of_images(CFILE* c) {
    if (!is_usable(c)) {
        fail(nullptr, RZL_BAD_CFILE, SOURCE, nullptr);
        return -1;
    }
    c->status = 0;
    set_last_status(0);
    return 1;
}

constexpr format_slots DEFAULT_SLOTS = {
    .Getline = refuse<"Getline", 1, 1>,
    .Get_line = refuse<"Get_line", 1, 1>,
    .Getline16 = refuse<"Getline16", 1, 1>,
    .Get_line16 = refuse<"Get_line16", 1, 1>,
    .Getlinefromtile = refuse<"Getlinefromtile", 1, 1>,
    .Getrleline = refuse<"Getrleline", 0, 0>,
    .Getrlestrip = refuse<"Getrlestrip", 0, 0>,
    .Getinlv = rzl_getinlv_default,
    .Putline = refuse<"Putline", 1, 1>,
    .Put_line = refuse<"Put_line", 1, 1>,
    .Putline16 = refuse<"Putline16", 1, 1>,
    .Put_line16 = refuse<"Put_line16", 1, 1>,
    .Putrleline = refuse<"Putrleline", 1, 1>,
    .Putinlv = rzl_putinlv_default,
    .Putlinetotile = refuse<"Putlinetotile", 1, 1>,
    .Gettile = refuse<"Gettile", 1, 1>,
    .Puttile = refuse<"Puttile", 1, 1>,
    .Gettile16 = refuse<"Gettile", 1, 1>, // the words of the 8-bit sisters
    .Puttile16 = refuse<"Puttile", 1, 1>,
    .Getrletile = refuse<"Getrletile", 0, 0>,
    .Putrletile = refuse<"Putrletile", 0, 0>,
    .Get_hdr_data = refuse<"Get hdr data", 1, 0>,
    .Set_hdr_data = refuse<"Set hdr data", 1, 0>,
    .Get_stat = refuse<"Get_stat", 1, 0>,
    .Set_stat = refuse<"Set_stat", 1, 0>,
    .Get_vlt = refuse<"Get_vlt", 1, 0>,
    .Get_format = refuse<"Get format", -1, 2>,
    .Get_packet = refuse<"Get packet", 1, 0>,
    .Put_Packet = refuse<"Put Packet", 1, 0>,
    .copydata = refuse_pair<"copydata">,
    .init_std_hdr = refuse_pair<"init std hdr">,
    .init_ov = refuse_pair<"init ov">,
    .setactiveov = default_setactiveov,
    .Wrt_hdr = refuse<"Wrt_hdr", 1, 0>,
    .Seek = rzl_seek_default,
    .Get_number_of_images = default_get_number_of_images,
    .Set_Number_of_Images = default_set_number_of_images,
    .Set_Active_Image = default_set_active_image,
    .Randomize = refuse<"Randomize", 1, 1>,
    .Rewind = refuse_silently<"Rewind">,
    .ckJPEG = refuse_silently<"ckJPEG">,
    .Close = refuse_silently<"Close">,
    .Free_specs = refuse_silently<"Free specs">,
    .Get_Image_Offset = refuse_offset<"Get Image Offset">,
};

// Takes a module's slot where it has one.
template <typename Slot> void take(Slot* slot, Slot given) {
    if (given != nullptr) *slot = given;
}

} // namespace

void rzl_set_default_slots(CFILE* c) {
    c->slots = DEFAULT_SLOTS;
}

void install_slots(CFILE* c, const format_slots& table) {
    rzl_set_default_slots(c);
    format_slots* s = &c->slots;
    take(&s->Getline, table.Getline);
    take(&s->Get_line, table.Get_line);
    take(&s->Getline16, table.Getline16);
    take(&s->Get_line16, table.Get_line16);
    take(&s->Getlinefromtile, table.Getlinefromtile);
    take(&s->Getrleline, table.Getrleline);
    take(&s->Getrlestrip, table.Getrlestrip);
    take(&s->Getinlv, table.Getinlv);
    take(&s->Putline, table.Putline);
    take(&s->Put_line, table.Put_line);
    take(&s->Putline16, table.Putline16);
    take(&s->Put_line16, table.Put_line16);
    take(&s->Putrleline, table.Putrleline);
    take(&s->Putinlv, table.Putinlv);
    take(&s->Putlinetotile, table.Putlinetotile);
    take(&s->Gettile, table.Gettile);
    take(&s->Puttile, table.Puttile);
    take(&s->Gettile16, table.Gettile16);
    take(&s->Puttile16, table.Puttile16);
    take(&s->Getrletile, table.Getrletile);
    take(&s->Putrletile, table.Putrletile);
    take(&s->Gettilerows, table.Gettilerows);
    take(&s->Gettileline, table.Gettileline);
    take(&s->Puttilerows, table.Puttilerows);
    take(&s->Get_hdr_data, table.Get_hdr_data);
    take(&s->Set_hdr_data, table.Set_hdr_data);
    take(&s->Get_stat, table.Get_stat);
    take(&s->Set_stat, table.Set_stat);
    take(&s->Get_vlt, table.Get_vlt);
    take(&s->Get_format, table.Get_format);
    take(&s->Get_packet, table.Get_packet);
    take(&s->Put_Packet, table.Put_Packet);
    take(&s->copydata, table.copydata);
    take(&s->init_std_hdr, table.init_std_hdr);
    take(&s->init_ov, table.init_ov);
    take(&s->setactiveov, table.setactiveov);
    take(&s->Wrt_hdr, table.Wrt_hdr);
    take(&s->Seek, table.Seek);
    take(&s->Get_number_of_images, table.Get_number_of_images);
    take(&s->Set_Number_of_Images, table.Set_Number_of_Images);
    take(&s->Set_Active_Image, table.Set_Active_Image);
    take(&s->Randomize, table.Randomize);
    take(&s->Rewind, table.Rewind);
    take(&s->ckJPEG, table.ckJPEG);
    take(&s->Close, table.Close);
    take(&s->Free_specs, table.Free_specs);
    take(&s->Get_Image_Offset, table.Get_Image_Offset);
    static_assert(sizeof(format_slots) == 47 * sizeof(void (*)()), "every slot is taken above");
}
