#pragma once

/// Messages to the user, by number of the string table. Boxes are on when a window shows them; when they are off (no
/// window, or option -q) a warning goes to standard error as one line "vantel: FILE: TEXT" in UTF-8 and every question
/// counts as refused. Arguments behind the number fill the text's %d and %s; %s takes code page 932. Main thread.

/// Turns boxes off or on; nests by counting. Off: as if nobody were there.
void message_boxes_off();
void message_boxes_on();
/// Also keep warnings off standard error, for steps that may fail in silence; nests.
void message_silence(bool on);

/// Whether the user sees boxes now and can be asked.
bool message_boxes_shown();

/// A warning about the program.
void message_warn(int id, ...);
/// A warning about a file: the box shows text `id` and, below it, the file and, when reason is not 0, that text, which
/// says why; standard error names the file and shows the reason, or text `id`. Both texts take the arguments.
void message_warn_file(const char* path, int id, int reason, ...);
/// A question with OK and Cancel; false when refused or when boxes are off.
bool message_ask(int id, ...);
/// A line on standard error, in any mode: plain information of a run from the shell.
void message_note(int id, ...);
