// A look at a library's file before the dynamic linker maps it.
#pragma once

namespace tnk::host {

// What would stop or hang the process if the dynamic linker were given the file, as a text; null where nothing would.
// The linker waits for a writer where the path is that of a pipe, and it maps what the ELF headers tell even when the
// file ends before: the first touch of a page past its end would be the last. All else that can be wrong with a file the
// linker reports itself.
const char *reason_not_to_open(const char *path);

} // namespace tnk::host
