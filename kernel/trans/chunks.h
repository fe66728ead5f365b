// Transposition of a matrix by chunks of its rows, whose cache lines stay at hand while columns are walked.
//
//            j ...                         row0 ...
//       +-----------+                    +--+-----+--+
//       |           |                  j |  |     |  |
//  row0 +-----------+                    |  |     |  |
//       |  a chunk  |       becomes      |  |chunk|  |
//       +-----------+                    |  |     |  |
//       |     A     |                    +--+-----+--+
//       +-----------+                          B
#pragma once

#include "kernel/frame/unroll.h"
#include "kernel/trans/columns.h"

namespace tnk::trans {

struct Chunk {
  count rows;
  count group; // columns that go through scratch memory together; 1: none does
};

// How many rows begin in a page of memory, at least 1. Rows of no length, which are one and the same, count as bytes.
inline count rows_a_page(count row_bytes) {
  constexpr count page = 4096;
  if (row_bytes == 0) return page;
  return std::max<count>((row_bytes + page - 1) / row_bytes, 1);
}

// Rows of A are taken by pages. As many pages as a line has elements, if rows of B are short; otherwise most of the 64
// entries of the first-level table of pages, less those that the line under way needs in B. Where such pages compete for
// one place in the cache, eight, or all columns of a line go through scratch memory at once.
//
// Only pages that lie a multiple of 32 kilobytes apart compete, or in the smallest elements nearly so.
template <int Bytes> inline Chunk chunk_of(count lda, count ldb) {
  constexpr count a_line = 64 / Bytes, most_pages = 62, cache = 32768;
  const count a_bytes = lda * Bytes, b_bytes = ldb * Bytes;
  const count a_rows = rows_a_page(a_bytes), b_rows = rows_a_page(b_bytes);
  Chunk chunk{a_rows * (b_bytes <= 4096 ? a_line : most_pages - (b_rows + a_line - 1) / b_rows), 1};
  const count offset = a_bytes * a_rows % cache / 8;
  const bool competing = offset == 0 || (Bytes == 4 && (offset == 4 || offset == 60));
  if (competing && chunk.rows > 8 * a_rows) {
    if (8 * a_rows < a_line)
      chunk.group = a_line;
    else
      chunk.rows = 8 * a_rows;
  }
  return chunk;
}

// What is read now is read once: the next lines of its row are asked for, to be dropped first.
template <class T> inline void prefetch_row(const T *p) {
  __builtin_prefetch(reinterpret_cast<const char *>(p) + 128, 0, 0);
}

// Rows 0 ... rows - 1 of A, for column j to write(b + j * ldb + i, x): x is one element, or a vector of those of rows from
// i on.
template <class T, class Write>
inline void walk_columns(count rows, count cols, const T *a, count lda, T *b, count ldb, const Write &write) {
  constexpr count block = per_vector<T>;
  const bool rows_alike = ldb * sizeof(T) % 32 == 0 && is_aligned_to(b, sizeof(T));
  const count to_boundary = (0 - address(b)) % 32 / sizeof(T);
  const count peel = rows_alike && rows >= to_boundary + 32 ? to_boundary : 0;
  count j = 0;
  for (; j + columns_a_block <= cols; j += columns_a_block) {
    const T *const from = a + j;
    T *const to = b + j * ldb;
    const auto one_row = [=](count i) TNK_INLINED {
      prefetch_row(from + i * lda);
      unrolled<columns_a_block>([&](auto k)
                                    TNK_INLINED { write(to + k * ldb + i, get(from + i * lda + k)); });
    };
    count i = 0;
    for (; i < peel; ++i) one_row(i);
    for (; i + block <= rows; i += block) {
      unrolled<block>([&](auto k) TNK_INLINED { prefetch_row(from + (i + k) * lda); });
      const Columns<T> x = load_columns(from + i * lda, lda);
      unrolled<columns_a_block>([&](auto k) TNK_INLINED { write(to + k * ldb + i, x.column[k]); });
    }
    for (; i < rows; ++i) one_row(i);
  }
  for (; j < cols; ++j)
    for (count i = 0; i < rows; ++i) {
      prefetch_row(a + i * lda + j);
      write(b + j * ldb + i, get(a + i * lda + j));
    }
}

// The same by way of scratch memory, in which the rows of a group of columns lie side by side: each line of A is read
// once, all of it. A single row fills a page then, so there are fewer rows than pages.
template <class T, class Write>
inline void walk_groups(count rows, count cols, const T *a, count lda, T *b, count ldb, const Write &write) {
  constexpr count group = 64 / sizeof(T), most_rows = 62;
  alignas(32) T scratch[most_rows * group];
  for (count j = 0; j < cols; j += group) {
    const count width = std::min(group, cols - j);
    for (count i = 0; i < rows; ++i) {
      prefetch_row(a + i * lda + j);
      std::memcpy(scratch + i * group, a + i * lda + j, width * sizeof(T));
    }
    walk_columns<T>(rows, width, scratch, group, b + j * ldb, ldb, write);
  }
}

template <class T, class Write>
inline void walk_chunks(count rows, count cols, const T *a, count lda, T *b, count ldb, const Write &write) {
  const Chunk chunk = chunk_of<sizeof(T)>(lda, ldb);
  for (count row = 0; row < rows; row += chunk.rows) {
    const count taken = std::min(chunk.rows, rows - row);
    if (sizeof(T) == 4 && chunk.group > 1)
      walk_groups<T>(taken, cols, a + row * lda, lda, b + row, ldb, write);
    else
      walk_columns<T>(taken, cols, a + row * lda, lda, b + row, ldb, write);
  }
}

} // namespace tnk::trans
