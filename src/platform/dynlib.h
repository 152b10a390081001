#pragma once

#include <string>

/// Shared objects: plug-ins. Their symbols stay their own, and all they need is bound when they are opened, so one that
/// lacks something is refused then, not in the middle of a save. Main thread.

struct DYNLIB;  // an open shared object, owned by who opened it

/// Opens a shared object by its path (code page 932; a relative one counts from the current folder). Null on failure,
/// with the machine's reason in *error (UTF-8) when error is not null.
DYNLIB* dynlib_open(const char* path, std::string* error = nullptr);
/// The address of an export, null when there is none.
void* dynlib_symbol(DYNLIB* library, const char* name);
/// Closes it; null is allowed.
void dynlib_close(DYNLIB* library);
