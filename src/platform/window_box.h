#pragma once

#include "platform/window_control.h"

/// Boxes and file dialogs of the desktop. Main thread; each returns when the user has answered, while messages of other
/// windows go on. Texts and paths are UTF-8.

enum BOX_ICON { BOX_PLAIN, BOX_WARNING, BOX_QUESTION, BOX_STOP };
enum BOX_BUTTONS { BOX_OK, BOX_OK_CANCEL, BOX_YES_NO };
/// True: OK or Yes. Centred on the owner (null: on the screen). detail: stands below the text.
bool message_box(WINDOW* owner, const std::string& title, const std::string& text, BOX_ICON icon, BOX_BUTTONS buttons,
                 const std::string& detail = {});
/// A long text in a window that scrolls, with its title.
void information_box(WINDOW* owner, const std::string& title, const std::string& text);

struct FILE_FILTER {
    std::string name;      // "AviFile (*.avi)"
    std::string patterns;  // "*.avi;*.vts"
};
struct FILE_BOX {
    std::string title;  // empty: the desktop's
    std::vector<FILE_FILTER> filters;
    int filter = 0;            // the one to start with
    std::string folder, name;  // to start with
    std::string extension;     // with its point; added to a typed name that has none
    bool save = false;
    bool ask_overwrite = true;  // save
    bool several = false;
    const DIALOG_TEMPLATE* options = nullptr;  // shown below; its procedure works while the box is open
    DIALOG_PROC proc = nullptr;
    void* data = nullptr;
};
/// The chosen paths; empty when cancelled. The procedure gets ID_OK or ID_CANCEL as WM_COMMAND when the box has been
/// answered, before its controls go. Inside it, dialog_end answers the box.
std::vector<std::string> file_box(WINDOW* owner, const FILE_BOX& box);
/// A folder, ended with its separator; empty when cancelled.
std::string folder_box(WINDOW* owner, const std::string& title, const std::string& start);

/// Plays a sound file once, without waiting. Nothing happens when it cannot be played.
void sound_play(const std::string& path);
