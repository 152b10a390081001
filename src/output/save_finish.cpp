#include <cstring>

#include "core/edit_state.h"
#include "core/settings.h"
#include "core/ui_hooks.h"
#include "output/save.h"
#include "output/save_flags.h"
#include "output/save_state.h"
#include "platform/path.h"

static int write_companion(EDIT_STATE* edit) {
    if (!path_set_extension(edit->save_name, edit->save_name, ".wav")) return 0;
    edit->edit_flag &= ~uint32_t{EDIT_SAVE_WAV};
    edit->output_kind = OUTPUT_KIND_WAV;
    const int result = save_run(edit, SAVE_REQ_WAV_COMPANION);
    edit->edit_flag |= EDIT_SAVE_WAV;
    return result;
}

int save_finish(EDIT_STATE* edit, uint32_t request) {
    if ((edit->edit_flag & EDIT_SAVE_WAV) && !write_companion(edit)) return 0;
    const bool quiet = request & (SAVE_REQ_QUIET | SAVE_REQ_WAV_COMPANION);
    if (!quiet && ui_hooks.finish_notice) ui_hooks.finish_notice(system_settings.finishsound);
    return 1;
}
