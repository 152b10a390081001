#pragma once

/// The exception reporter: tells the user which guarded call failed, where, and asks whether to go on. Installed as
/// guard_reporter (platform/guard.h), so every guarded call ends here. Without a window the text goes to standard error
/// and nobody says yes. Any thread.
void exception_report_install();
