// How a job on a sparse matrix is cut for several threads.
#pragma once

#include <algorithm>
#include <tnk/sparse.h>

#include "host/threading/team.h"

namespace tnk::host::sparse {

// Stored entries times right-hand sides that make it worth while to use one more thread: some 35 microseconds of work,
// about what it takes until a sleeping thread runs.
inline constexpr double least_work = 65536;
inline constexpr int most_threads = 64, most_pieces = most_threads * slices_a_thread;

inline int threads_worth_while(double work) {
  const double most = std::min<double>(work / least_work, most_threads);
  return most < 2 ? 1 : std::min(static_cast<int>(most), usable_threads());
}

struct Pieces {
  int count;
  tnk_int begin[most_pieces + 1]; // piece i: begin[i] up to begin[i + 1], from 0
};

inline Pieces even_pieces(int count, tnk_int size, tnk_int unit = 1) {
  Pieces p{count, {}};
  const tnk_int units = size / unit;
  for (int i = 0; i < count; ++i)
    p.begin[i] = (units / count * i + std::min<tnk_int>(i, units % count)) * unit;
  p.begin[count] = size;
  return p;
}

// Rows with about as many entries in each piece, found on the row pointers. Should these not ascend, the pieces are
// only less even: halving never ends further left for a larger limit.
inline Pieces row_pieces(int count, const tnk_sparse_matrix &a) {
  Pieces p{count, {}};
  const tnk_int *const starts = a.row_start;
  const double origin = static_cast<double>(starts[0]);
  const double share = (static_cast<double>(a.row_end[a.m - 1]) - origin) / count;
  for (int i = 1; i < count; ++i) {
    const tnk_int *const found = std::partition_point(
        starts, starts + a.m, [&](tnk_int start) { return static_cast<double>(start) < origin + share * i; });
    p.begin[i] = found - starts;
  }
  p.begin[count] = a.m;
  return p;
}

} // namespace tnk::host::sparse
