// Shows the real windows on the display that it is given and leaves pictures of them in a folder, with a text that
// tells where things lie in them.
//     ui_scenes FOLDER [SCENE...]

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "core/edit_state.h"
#include "core/source.h"
#include "core/start_up.h"
#include "demo/clip.h"
#include "hosts/filter.h"
#include "platform/handle.h"
#include "platform/text.h"
#include "platform/window_draw.h"
#include "platform/window_input.h"
#include "resources/string_ids.h"
#include "ui/dialog_user.h"
#include "ui/dialogs.h"
#include "ui/filter_windows.h"
#include "ui/main_window.h"
#include "ui/view.h"

static constexpr CLIP SHOWN = {384, 288, 30, 1, 30, 24, 44100, 0};
static constexpr char SETTINGS[] = "[window]\nx=0\ny=0\nw=480\nh=400\navikeyframe=1\ntime=1\n";

static std::string folder;
static std::ofstream facts;
static EDIT_STATE* edit;

static void command(int id, intptr_t parameter = 0) {
    window_post(main_window(), WM_COMMAND, uintptr_t(id), parameter);
    window_pump();
}

static void tell(const std::string& scene, const char* what, const std::vector<int>& numbers) {
    facts << scene << '.' << what;
    for (const int number : numbers) facts << ' ' << number;
    facts << '\n';
}
static void tell_rect(const std::string& scene, const char* what, const RECT& rect) {
    tell(scene, what, {rect.left, rect.top, rect.width, rect.height});
}

// The controls that are seen: their numbers, and where each lies in the picture.
static void tell_controls(WINDOW* window, const std::string& scene, const std::vector<WINDOW*>& controls) {
    const RECT frame = window_frame(window);
    std::vector<int> ids;
    for (WINDOW* control : controls) {
        if (!control || !window_shown(control)) continue;
        ids.push_back(control_id(control));
        const POINT at = window_to_screen(control, {0, 0});
        const RECT size = window_client(control);
        tell_rect(scene, "spot", {at.x - frame.left, at.y - frame.top, size.width, size.height});
    }
    tell(scene, "controls", ids);
}

static void picture(WINDOW* window, const std::string& scene, const std::vector<WINDOW*>& controls) {
    window_pump();
    if (!window_picture(window, folder + "/" + scene + ".png"))
        std::fprintf(stderr, "no picture of %s\n", scene.c_str());
    facts << scene << ".title " << window_title(window) << '\n';
    const RECT frame = window_frame(window), client = window_client(window);
    tell_rect(scene, "client", {client.left - frame.left, client.top - frame.top, client.width, client.height});
    tell_controls(window, scene, controls);
}

static void main_picture(const std::string& scene) {
    const VIEW_RECORD& view = edit->view;
    std::vector<WINDOW*> controls;
    for (const uint32_t id : {view.trackbar, view.button_back, view.button_forward, view.button_in, view.button_out})
        controls.push_back(static_cast<WINDOW*>(handle_get(id)));
    picture(main_window(), scene, controls);
    const int32_t* r = view.draw_rect;
    tell(scene, "draw", {r[0], r[1], r[2], r[3], r[4], r[5]});
    for (const WINDOW* control : controls) tell_rect(scene, "place", window_client(control));
}

static void filter_picture(FILTER* filter, const std::string& scene) {
    std::vector<WINDOW*> controls = {static_cast<WINDOW*>(filter->active_box)};
    for (int i = 0; i < filter->track_count; ++i)
        for (void* const* part :
             {filter->track_names, filter->track_bars, filter->track_lefts, filter->track_rights, filter->track_edits})
            controls.push_back(static_cast<WINDOW*>(part[i]));
    picture(static_cast<WINDOW*>(filter->window), scene, controls);
}

static void dialog_picture(WINDOW* dialog, const std::string& scene) {
    constexpr int LAST_ID = 32767;
    std::vector<WINDOW*> controls;
    for (int id = 1; id <= LAST_ID; ++id) controls.push_back(control_of(dialog, id));
    picture(dialog, scene, controls);
}

// ---- the scenes

static void scene_empty() {
    window_resize_client(main_window(), 480, 380);  // the room of the menu bar is the font's
    main_picture("empty");
}

static void open_clip() {
    if (edit->edit_flag & EDIT_OPEN) return;
    const std::string path = text_from_utf8(folder + "/clip.avi");
    if (!clip_write(SHOWN, path) || open_file(edit, path.c_str(), 0) != 1) std::fprintf(stderr, "no clip\n");
    main_redraw(edit);
    for (const int id : {9002, 9002, 5110, 5187, 5111}) command(id);  // frames 2 to 7
}

// Start of the selection, a key mark, and the clip's beep in the strip.
static void scene_clip() {
    open_clip();
    command(5103);
    command(5129);
    main_picture("clip");
    command(5129);
}

static void scene_zoom() {
    open_clip();
    command(5104);
    command(9203);
    window_resize_client(main_window(), 480, 360);
    main_picture("zoom_200");
    command(9206);
    window_resize_client(main_window(), 560, 320);
    main_picture("zoom_window");
    command(9202);
}

static void scene_filters() {
    open_clip();
    command(5103);
    for (const auto& [id, name] :
         {std::pair{STR_FILTER_NOISE, "noise"}, {STR_FILTER_COLOR, "color"}, {STR_FILTER_HISTOGRAM, "histogram"}}) {
        FILTER* filter = filter_built_in(id);
        command(FILTER_COMMAND_SHOW + filter->menu_index);
        main_redraw(edit);
        filter_picture(filter, name);
        command(FILTER_COMMAND_SHOW + filter->menu_index);
    }
}

static void dialog_scene(int id, const char* name) {
    user = {[name](WINDOW* dialog) {
        dialog_picture(dialog, name);
        dialog_end(dialog, ID_CANCEL);
    }};
    command(id);
}
static void scene_settings() { dialog_scene(108, "settings"); }
static void scene_save() {
    open_clip();
    dialog_scene(1003, "save");
}

static constexpr struct {
    const char* name;
    void (*show)();
} SCENES[] = {{"empty", scene_empty},     {"clip", scene_clip},         {"zoom", scene_zoom},
              {"filters", scene_filters}, {"settings", scene_settings}, {"save", scene_save}};

static bool wanted(const char* name, const std::vector<std::string>& names) {
    return names.empty() || std::find(names.begin(), names.end(), name) != names.end();
}

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    folder = argv[1];
    const std::vector<std::string> names(argv + 2, argv + argc);
    std::ofstream(folder + "/vantel.ini") << SETTINGS;
    setenv("VANTEL_HOME", folder.c_str(), 1);
    facts.open(folder + "/facts.txt");
    if (!window_system_start("vantel")) return 1;
    main_window_install();
    edit = start_up(true);
    if (!edit) return 1;
    user_start();
    window_pump();
    tell("all", "visible", {window_system_visible()});
    tell("all", "dark", {theme_dark()});
    for (const auto& scene : SCENES)
        if (wanted(scene.name, names)) scene.show();
    shut_down();
    dialogs_remove();
    window_system_stop();
    return user.empty() ? 0 : 1;
}
