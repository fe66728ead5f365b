// From a matrix's descriptor to the kernel of the sparse grid, and what one call of that kernel may be given.
#pragma once

#include <cstring>
#include <tnk/sparse.h>

namespace tnk::host::sparse {

// Products and solves, with one right-hand side or several.
enum class Operation { mv, mm, sv, sm };

struct Plan {
  // Letters of the kernel's name.
  char storage[4] = "csr", base, op = 'n', kind, triangle = '_', diagonal = '_';
  bool swapped = false; // row and column numbers change places
  bool negated = false; // alpha changes its sign
};

// `op` is N, T or C. The arguments are good ones.
inline Plan plan_product(const tnk_sparse_matrix &matrix, const tnk_sparse_descriptor &descriptor, char op,
                         bool complex) {
  Plan plan;
  const bool coordinate = matrix.storage == TNK_SPARSE_COO;
  const bool transposes = op != 'N', conjugates = op == 'C' && complex;
  if (coordinate) std::memcpy(plan.storage, "coo", 4);
  plan.base = static_cast<char>('0' + descriptor.base);
  plan.kind = "gshtda"[descriptor.kind];
  if (plan.kind != 'g' && plan.kind != 'd') plan.triangle = "lu"[descriptor.triangle];
  if (plan.kind != 'g' && plan.kind != 'a') plan.diagonal = "nu"[descriptor.diagonal];
  // The mirrored kinds of COO multiply the identity once a piece, and a piece without entries is none.
  if (coordinate && matrix.nnz == 0 && plan.diagonal == 'u') plan.kind = 'd', plan.triangle = '_';

  // Coordinate storage has no transposed kernels: the matrix with its numbers swapped is the transposed one, its lower
  // triangle an upper one, and conjugating is the letter s, which compressed rows have for few kinds.
  const auto swap = [&] {
    plan.swapped = true;
    if (plan.triangle != '_') plan.triangle = plan.triangle == 'l' ? 'u' : 'l';
  };
  const char conjugate = coordinate ? 's' : 'c';
  switch (plan.kind) {
  case 'g':
  case 't':
    if (conjugates) plan.op = conjugate;
    if (transposes && coordinate) swap();
    if (transposes && !conjugates && !coordinate) plan.op = 't';
    break;
  case 'h': // its own conjugate transpose
    if (op == 'T' && coordinate) swap();
    if (op == 'T' && !coordinate) plan.op = 't';
    break;
  case 'a': // minus its transpose
    plan.negated = transposes;
    if (conjugates) plan.op = conjugate;
    break;
  default: // symmetric and diagonal: their own transpose
    if (conjugates && !(plan.kind == 'd' && plan.diagonal == 'u')) plan.op = conjugate;
  }
  return plan;
}

// The solve of a CSR or DIA matrix.
inline Plan plan_solve(bool diagonals, const tnk_sparse_descriptor &descriptor, char op, bool complex) {
  Plan plan;
  if (diagonals) std::memcpy(plan.storage, "dia", 4);
  plan.base = static_cast<char>(diagonals ? '1' : '0' + descriptor.base);
  plan.kind = "gshtda"[descriptor.kind];
  plan.diagonal = "nu"[descriptor.diagonal];
  const bool conjugates = op == 'C' && complex;
  if (plan.kind == 't') {
    plan.triangle = "lu"[descriptor.triangle];
    if (op != 'N') plan.op = conjugates ? 'c' : 't';
  } else if (conjugates) {
    plan.op = 'c';
  }
  return plan;
}

// Elements of y that mv kernels add to when they are given a part of the rows or entries.
enum class Reach {
  no_parts, // the kernel takes the whole matrix
  own,      // those of the part's rows
  before,   // and those before them
  after,    // and those after them; x and y begin with the part
  all
};

inline Reach reach_of(const Plan &plan) {
  const bool mirrored = plan.kind == 's' || plan.kind == 'h' || plan.kind == 'a';
  if (plan.kind == 'd') return Reach::no_parts;
  if (plan.storage[1] == 'o') // each call of a kernel with a unit diagonal adds all of the identity
    return plan.kind == 't' || plan.diagonal == 'u' ? Reach::no_parts : Reach::all;
  if (mirrored) return plan.triangle == 'l' ? Reach::before : Reach::after;
  const bool transposed = plan.op == 't' || plan.op == 'c';
  if (plan.kind == 't') return transposed ? Reach::no_parts : Reach::own;
  return transposed ? Reach::all : Reach::own;
}

// Whether the kernel runs the whole job, and takes no range.
inline bool is_sequential(const Plan &plan, Operation operation) {
  const bool vector = operation == Operation::mv, diagonals = plan.storage[1] == 'i';
  if (operation == Operation::sv) return true;
  if (operation == Operation::sm) return diagonals && plan.kind == 'd';
  if (diagonals) return false;
  const bool transposed = plan.op == 't' || plan.op == 'c', rows = plan.storage[1] == 's';
  if (plan.kind == 'd') return rows || vector;
  return rows && vector && plan.kind == 't' && transposed;
}

} // namespace tnk::host::sparse
