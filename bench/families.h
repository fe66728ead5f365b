// The families, in the order in which they are measured. Each appends its rows.
#pragma once

#include "bench/frame/row.h"

namespace tnk::bench {

void add_blas_level1(std::vector<Row> &rows);
void add_sparse_vectors(std::vector<Row> &rows);
void add_matrix_vector(std::vector<Row> &rows);
void add_rank_one(std::vector<Row> &rows);
void add_half_matrices(std::vector<Row> &rows);
void add_products(std::vector<Row> &rows);
void add_symmetric(std::vector<Row> &rows);
void add_triangles(std::vector<Row> &rows);
void add_factorizations(std::vector<Row> &rows);
void add_drivers(std::vector<Row> &rows);
void add_rotations(std::vector<Row> &rows);
void add_sparse_matrices(std::vector<Row> &rows);
void add_sparse_solves(std::vector<Row> &rows);
void add_extended(std::vector<Row> &rows);
void add_transposition(std::vector<Row> &rows);
void add_power_of_two_transforms(std::vector<Row> &rows);
void add_transforms_of_any_length(std::vector<Row> &rows);
void add_transforms_by_descriptors(std::vector<Row> &rows);
void add_long_transforms(std::vector<Row> &rows);
void add_convolutions(std::vector<Row> &rows);
void add_trigonometric_transforms(std::vector<Row> &rows);
void add_poisson(std::vector<Row> &rows);
void add_limbs(std::vector<Row> &rows);
void add_integers(std::vector<Row> &rows);

inline std::vector<Row> all_rows() {
  std::vector<Row> rows;
  for (const auto &add : {add_blas_level1,
                          add_sparse_vectors,
                          add_matrix_vector,
                          add_rank_one,
                          add_half_matrices,
                          add_products,
                          add_symmetric,
                          add_triangles,
                          add_factorizations,
                          add_drivers,
                          add_rotations,
                          add_sparse_matrices,
                          add_sparse_solves,
                          add_extended,
                          add_transposition,
                          add_power_of_two_transforms,
                          add_transforms_of_any_length,
                          add_transforms_by_descriptors,
                          add_long_transforms,
                          add_convolutions,
                          add_trigonometric_transforms,
                          add_poisson,
                          add_limbs,
                          add_integers})
    add(rows);
  return rows;
}

} // namespace tnk::bench
