#include "ui/dialogs_output.h"

#include "core/file_filter.h"
#include "platform/text.h"
#include "resources/string_ids.h"
#include "ui/dialog_file.h"
#include "ui/dialogs.h"

void dialogs_install_output(WINDOW*) {
    ui_hooks.choose_video = dialog_choose_video;
    ui_hooks.codec_options = dialog_codec_options;
    ui_hooks.choose_audio = dialog_choose_audio;
    ui_hooks.chain_dialog = dialog_chain;
    ui_hooks.mix_dialog = dialog_mix;
    ui_hooks.save_dialog = dialog_save;
}

enum : int { TITLE = 32100, COMMENT = 32101, COPYRIGHT = 32102, OUTPUT = 32104, BROWSE_OUTPUT = 32304 };

void info_fields_show(WINDOW* dialog, const INFO_FIELDS& fields) {
    control_set_text(control_of(dialog, TITLE), text_to_utf8(fields.title));
    control_set_text(control_of(dialog, COMMENT), text_to_utf8(fields.comment));
    control_set_text(control_of(dialog, COPYRIGHT), text_to_utf8(fields.copyright));
}

bool info_fields_take(WINDOW* dialog, const INFO_FIELDS& fields) {
    return dialogs_take_text(control_of(dialog, TITLE), fields.title, INFO_FIELD_SIZE) &&
           dialogs_take_text(control_of(dialog, COMMENT), fields.comment, INFO_FIELD_SIZE) &&
           dialogs_take_text(control_of(dialog, COPYRIGHT), fields.copyright, INFO_FIELD_SIZE);
}

static INFO_FIELDS info_of(COPY_FIELDS* fields) {
    static_assert(sizeof fields->title == INFO_FIELD_SIZE && sizeof fields->comment == INFO_FIELD_SIZE &&
                  sizeof fields->copyright == INFO_FIELD_SIZE);
    return {fields->title, fields->comment, fields->copyright};
}

void copy_fields_show(WINDOW* dialog, COPY_FIELDS* fields) {
    info_fields_show(dialog, info_of(fields));
    control_set_text(control_of(dialog, OUTPUT), text_to_utf8(fields->output));
}

bool copy_fields_take(WINDOW* dialog, COPY_FIELDS* fields) {
    return info_fields_take(dialog, info_of(fields)) &&
           dialogs_take_text(control_of(dialog, OUTPUT), fields->output, sizeof fields->output);
}

void copy_fields_command(WINDOW* dialog, int id) {
    if (id == BROWSE_OUTPUT) field_browse(control_of(dialog, OUTPUT), file_filter_one(STR_FILES_AVI, "*.avi"), true);
}

void field_browse(WINDOW* field, const std::string& filter, bool save) {
    const std::string start = text_from_utf8(control_text(field));
    char path[PATH_SIZE];
    if (dialog_file_choose(dialog_file_box("", filter.c_str(), start.c_str(), save), path))
        control_set_text(field, text_to_utf8(path));
}
