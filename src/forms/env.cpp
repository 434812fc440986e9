// The tables of replaceable operations: the toolkit's own, and replacing one by number.
#include "forms/env.h"

#include <cstring>

#include "forms/envdata.h"
#include "forms/forms.h"
#include "tools/draw.h"
#include "tools/events.h"
#include "tools/font.h"
#include "tools/process.h"
#include "tools/windows.h"

namespace {

// What the display layer of this system has no use for.
template <typename... Arguments> int nothing(Arguments... /*unused*/) {
    return 0;
}

int no_slots(int /*screen*/, const void* /*entries*/, int /*count*/) {
    return -1;
}

constexpr fi_environment OWN_ENV = {
    fi_translate_color,   fi_find_form_file,   nothing<int>,     fi_calc_text,
    fi_draw_text_at,      fi_find_symbol_file, fi_find_font,     nothing<int, const char*, FI_form*>,
    fi_get_keyboard_data, nothing<FI_form*>,   fi_map_character, fi_strlen,
    fi_move_index,
};

constexpr fi_graphic_environment OWN_GRAPHIC = {
    .Clear_timer_data = Clear_timer_data,
    .Collapse_win = Collapse_win,
    .Create_SR_area = Create_SR_area,
    .Create_level_window = Create_level_window,
    .Set_win_icon = nothing<int, const char*, int>,
    .Delete_SR_area = Delete_SR_area,
    .Delete_win = Delete_win,
    .Display_win = Display_win,
    .Enter_SR = Enter_SR,
    .Exit_SR = Exit_SR,
    .Get_button_data = Get_button_data,
    .Get_collapse_data = Get_collapse_data,
    .Get_delete_data = Get_delete_data,
    .Get_refresh_data = Get_refresh_data,
    .Get_window_icon_data = nothing<int*, int*>,
    .Inq_button_data = Inq_button_data,
    .Inq_collapse_data = Inq_collapse_data,
    .Inq_delete_data = Inq_delete_data,
    .Inq_displayed_vs = Inq_displayed_vs,
    .Inq_events = Inq_events,
    .Inq_refresh_data = Inq_refresh_data,
    .Inq_screen_info = Inq_screen_info,
    .Inq_win_collapse_stat = Inq_win_collapse_stat,
    .Inq_window_icon_data = nothing<int*, int*>,
    .Modify_win = Modify_win,
    .Mouse_position = Mouse_position,
    .Window_move = nothing<int, int, int>,
    .Flush_icon = nothing<int>,
    .Set_win_sizes = Set_win_sizes,
    .Set_win_button_mode = Set_win_button_mode,
    .Set_win_collapse_org = Set_win_collapse_org,
    .Set_win_collapse_symbol = nothing<int, const char*, int>,
    .Set_win_sys_hdr = Set_win_sys_hdr,
    .Set_win_event_mode = nothing<int, int>,
    .Set_win_region = nothing<int, int, int, int, int>,
    .unnumbered = nullptr,
    .Start_timer = Start_timer,
    .Stop_timer = Stop_timer,
    .Uncollapse_win = Uncollapse_win,
    .Update_win_icon = nothing<int>,
    .Wait_for_next = Wait_for_next,
    .Set_window_pattern = nothing<int, const uint32_t*>,
    .blendline = blendline,
    .clipbox = clipbox,
    .Define_cursor = nothing<int, int>,
    .draw = draw,
    .drawbitmap = drawbitmap,
    .drawsymbols = drawsymbols,
    .fgcolor = fgcolor,
    .flushbuffer = nothing<int>,
    .hidecursor = nothing<int>,
    .polyf = polyf,
    .linestyle = linestyle,
    .move = move,
    .pnt = pnt,
    .polygon4 = polygon4,
    .rectf = rectf,
    .showcursor = nothing<int>,
    .Set_screen_colors = nothing<int, const void*, int>,
    .weight = weight,
    .popattributes = popattributes,
    .pushattributes = pushattributes,
    .Mouse_win_position = Mouse_win_position,
    .Inq_win_region_data = nothing<int, int*, int*, int*, int*>,
    .Inq_win_vs = Inq_win_vs,
    .Inq_win_region = Inq_win_region,
    .Load_symbol_file = Load_symbol_file,
    .Get_user_data = Get_user_data,
    .Inq_user_data = Inq_user_data,
    .Set_colormap_slots = no_slots,
};

// Numbers of the slots of fi_environment, in its order.
constexpr int ENV_IDS[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 100, 101};
static_assert(sizeof(fi_environment) == sizeof ENV_IDS / sizeof ENV_IDS[0] * sizeof(FI_routine));

// Slot `index` of a table of nothing but pointers to functions takes the routine, or with null that of `own`.
void set_slot(void* table, const void* own, size_t index, FI_routine routine) {
    const size_t at = index * sizeof(FI_routine);
    const void* from = routine != nullptr ? static_cast<const void*>(&routine) : static_cast<const char*>(own) + at;
    std::memcpy(static_cast<char*>(table) + at, from, sizeof(FI_routine));
}

} // namespace

fi_environment fi_env = OWN_ENV;
fi_graphic_environment fi_graphic = OWN_GRAPHIC;

void fi_env_reset() {
    fi_env = OWN_ENV;
    fi_graphic = OWN_GRAPHIC;
}

int FI_modify_env(int id, FI_routine routine) {
    for (size_t i = 0; i < sizeof ENV_IDS / sizeof ENV_IDS[0]; ++i) {
        if (ENV_IDS[i] != id) continue;
        set_slot(&fi_env, &OWN_ENV, i, routine);
        return FI_SUCCESS;
    }
    return FI_NO_SUCH_ENV_ID;
}

int FI_set_graphic_env(int id, FI_routine routine) {
    if (id < FI_GRAPHIC_FIRST || id > FI_GRAPHIC_LAST || id == FI_GRAPHIC_NONE) return FI_NO_SUCH_ENV_ID;
    set_slot(&fi_graphic, &OWN_GRAPHIC, static_cast<size_t>(id - FI_GRAPHIC_FIRST), routine);
    return FI_SUCCESS;
}
