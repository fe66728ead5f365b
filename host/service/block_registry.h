// The live memory blocks, kept in builds with TNK_CHECK_BLOCKS only. The record stands apart from the blocks:
// asking it about an address that never came from here, or no longer counts, reads no memory behind that
// address.
#pragma once

namespace tnk::host {

// Notes that `allocator` gave this block. False when there is no memory for the note.
bool enter_block(void *block, const char *allocator);

// Strikes the block out. Reports in the name of `routine` and ends the program unless the block is live and
// `allocator` gave it.
void leave_block(void *block, const char *allocator, const char *routine);

} // namespace tnk::host
