// The rule of chunks for elements of eight bytes, for callers that cut a transposition themselves.
#include "kernel/trans/chunks.h"
#include <tnk/trans.h>

void dense_matrix_chunk_setup(std::uint64_t, std::uint64_t, std::uint64_t lda, std::uint64_t ldb,
                              std::uint32_t *group, std::uint64_t *chunk) {
  const tnk::trans::Chunk rule = tnk::trans::chunk_of<8>(lda, ldb);
  *group = static_cast<std::uint32_t>(rule.group);
  *chunk = rule.rows;
}
