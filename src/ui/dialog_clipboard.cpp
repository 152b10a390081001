#include "platform/clipboard.h"
#include "platform/text.h"
#include "ui/dialogs_hooks.h"

bool dialog_put_picture(const CLIPBOARD_PICTURE& picture) {
    return clipboard_put_picture(picture.header, picture.rows.data());
}

bool dialog_take_picture(CLIPBOARD_PICTURE* picture) {
    return clipboard_take_picture(&picture->header, &picture->rows);
}

bool dialog_put_text(const char* text) { return clipboard_put_text(text_to_utf8(text)); }
