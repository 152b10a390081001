#include <cstdio>
#include <cstring>
#include <string>

#include "core/edit_state.h"
#include "core/start_up.h"
#include "core/ui_hooks.h"
#include "output/chain_mix.h"
#include "platform/clock.h"
#include "platform/path.h"
#include "platform/text.h"

// chain_bench OUT FILE...: joins files; chain_bench -m OUT VIDEO SOUND: mixes. For bench/chain.sh and by hand. Prints
// the milliseconds of the run without start-up.

static bool take(char (&out)[PATH_SIZE], const char* utf8) {
    return text_copy(out, PATH_SIZE, path_absolute(text_from_utf8(utf8)));
}

static int join(EDIT_STATE* edit, int n, char** arguments) {
    CHAIN_DIALOG dialog{};
    if (!take(dialog.fields.output, arguments[0])) return 0;
    for (int i = 1; i < n; ++i) {
        char path[PATH_SIZE];
        if (!take(path, arguments[i]) || !chain_add(&dialog, path)) return 0;
    }
    return avi_chain_run(edit, dialog);
}

static int mix(EDIT_STATE* edit, char** arguments) {
    MIX_DIALOG dialog{};
    if (!take(dialog.fields.output, arguments[0]) || !take(dialog.video, arguments[1]) ||
        !take(dialog.sound, arguments[2]))
        return 0;
    return avi_mix_run(edit, dialog);
}

int main(int argc, char** argv) {
    const bool mixing = argc == 5 && std::strcmp(argv[1], "-m") == 0;
    EDIT_STATE* edit = argc >= 3 ? start_up(false) : nullptr;
    if (!edit) {
        std::fprintf(stderr, "usage: chain_bench [-m] OUT FILE...\n");
        return 1;
    }
    const int64_t start = clock_ms();
    const int ran = mixing ? mix(edit, argv + 2) : join(edit, argc - 1, argv + 1);
    const bool whole = ran && chain_mix_report().whole;
    std::printf("%lld ms, %d frames\n", static_cast<long long>(clock_ms() - start), chain_mix_report().written);
    shut_down();
    return whole ? 0 : 1;
}
