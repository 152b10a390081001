#include "platform/text.h"
#include "readers/input_filter.h"
#include "ui/dialogs.h"
#include "ui/dialogs_output.h"

enum : int { VIDEO = 32105, SOUND = 32106, BROWSE_VIDEO = 32305, BROWSE_SOUND = 32306 };

bool dialog_mix(MIX_DIALOG* mix) {
    DIALOG_STEPS steps;
    steps.init = [&](WINDOW* dialog) {
        control_set_text(control_of(dialog, VIDEO), text_to_utf8(mix->video));
        control_set_text(control_of(dialog, SOUND), text_to_utf8(mix->sound));
        copy_fields_show(dialog, &mix->fields);
    };
    steps.take = [&](WINDOW* dialog) {
        return dialogs_take_text(control_of(dialog, VIDEO), mix->video, sizeof mix->video) &&
               dialogs_take_text(control_of(dialog, SOUND), mix->sound, sizeof mix->sound) &&
               copy_fields_take(dialog, &mix->fields);
    };
    steps.command = [](WINDOW* dialog, int id, int) {
        if (id == BROWSE_VIDEO) field_browse(control_of(dialog, VIDEO), input_file_filter(false), false);
        if (id == BROWSE_SOUND) field_browse(control_of(dialog, SOUND), input_file_filter(true), false);
        copy_fields_command(dialog, id);
    };
    return dialogs_run("AVIMIX", steps);
}
