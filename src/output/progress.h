#pragma once

#include <cstddef>
#include <cstdint>

/// Progress of a long run: the text of the title, the estimate of the time left, and the test that lets the user stop.
/// One run at a time, main thread.

/// Starts a run over frames first .. last; label is code page 932 and must stay valid for the run.
void progress_begin(int first, int last, const char* label);
/// Notes the frame reached.
void progress_tick(int f);
/// The rate that the text shows, bits a second; 0 = none.
void progress_rate(uint32_t bits_per_second);
/// True at most once a second: the text is to be renewed.
bool progress_due();
/// The text: label, percentage, count, time left, rate. Code page 932.
void progress_text(char* buffer, size_t size);
/// Shows the text when it is due: in the title, or without a window, when progress_terminal is on, on one line of
/// standard error that is written over.
void progress_show();
/// How far the run is, 0 .. 1000; -1 when none runs.
int progress_permille();
/// Ends what progress_show began: the terminal's line is cleared, the title is the caller's again.
void progress_end();
/// Shows progress on standard error (option -q with a terminal there).
void progress_terminal(bool on);

/// The message pump of long runs: handles all waiting messages. Returns 1 when the run is to stop: the user agreed to
/// question `text` (a string number), or SIGINT, SIGTERM or SIGHUP came, which ask nothing. Sets the abort flag.
int save_poll_abort(int text);
/// The abort flag: whether the last run was stopped.
bool save_aborted();
/// For a new run, or when what the user stopped was a part of the work and not the work. A signal stands.
void save_abort_clear();
/// Makes SIGINT, SIGTERM and SIGHUP stop a running save. `end` ends the message loop with an exit code, 128 + the
/// signal (window_quit_from_signal); where it gives false, outside of a save they end the program as usual.
void save_signals_install(bool (*end)(int code));
/// Between begin and end, the signals alone do not end the program.
void save_signals_begin();
void save_signals_end();

/// Milliseconds of a steady clock; tests put their own in (null = the real one).
void progress_set_clock(int64_t (*clock)());
