// A look at a library's file before the dynamic linker maps it.
#pragma once

namespace tnk::host {

// Whether the file lacks the end of what its ELF headers tell the dynamic linker to map. The linker does not look, and
// the first touch of a page past the end of the file would stop the process. False for all else that can be wrong with
// a file: that the linker reports itself.
bool is_cut_short(const char *path);

} // namespace tnk::host
