// Public conversions there and back, sums and products against dense ones, of small integers so that all is exact; every
// request for memory refused in turn.
#include "sparse/compressed.h"
#include "support/allocations.h"
#include "support/error_recorder.h"
#include <cstring>
#include <tnk/services.h>
#include <tnk/sparse.h>

namespace {

using namespace tnk::test;

template <class Form> struct PublicConvert : SparseConvert<Form> {
  using Number = typename Form::first_type;
  using Rows = Csr<Number, tnk_int>;
  template <class... A> static tnk_sparse_status run(const std::string &name, A... arguments) {
    return Named<Number, tnk_sparse_status>{"tnk_sparse_?" + name}(arguments...);
  }
  static tnk_sparse_descriptor descriptor(tnk_int base, tnk_sparse_triangle triangle = TNK_SPARSE_LOWER) {
    tnk_sparse_descriptor d{};
    d.base = static_cast<int32_t>(base), d.triangle = triangle, d.check = TNK_SPARSE_INDICES;
    return d;
  }
  static tnk_sparse_matrix view(const Rows &a) {
    tnk_sparse_matrix v{};
    v.m = a.m, v.n = a.n, v.nnz = a.entries();
    v.values = a.values.data(), v.col_index = a.columns.data();
    v.row_start = a.pointer.data(), v.row_end = v.row_start + 1;
    return v;
  }
  // Of a result in rows, which is given back.
  static Rows taken(tnk_sparse_matrix &a, tnk_int base) {
    Rows copy(a.m, a.n, base);
    const Number *const values = static_cast<const Number *>(a.values);
    EXPECT_TRUE(a.storage == TNK_SPARSE_CSR && a.row_start[0] == base && a.row_start[a.m] == base + a.nnz);
    for (tnk_int i = 0; i < a.m; ++i) {
      for (tnk_int k = a.row_start[i] - base; k < a.row_start[i + 1] - base; ++k)
        copy.append(a.col_index[k] - base, values[k]);
      copy.end_row();
    }
    tnk_sparse_free(&a);
    EXPECT_TRUE(!a.owned && !a.values && a.nnz == 0);
    return copy;
  }
  // The first row in front, the others from the last one on, with gaps between.
  struct Scattered {
    Scattered(const Rows &a, const tnk_sparse_matrix &v) : matrix(v), start(a.at(a.m) + 1), end(start) {
      for (tnk_int step = 0; step < a.m; ++step) {
        const tnk_int i = step == 0 ? 0 : a.m - step;
        start[a.at(i)] = 5 + static_cast<tnk_int>(columns.size());
        for (tnk_int k = v.row_start[i] - a.base; k < v.row_start[i + 1] - a.base; ++k)
          columns.push_back(v.col_index[k]), values.push_back(a.values[a.at(k)]);
        end[a.at(i)] = 5 + static_cast<tnk_int>(columns.size());
        columns.push_back(-1000), values.push_back(Number{});
      }
      matrix.nnz = static_cast<tnk_int>(columns.size());
      matrix.values = values.data(), matrix.col_index = columns.data();
      matrix.row_start = start.data(), matrix.row_end = end.data();
    }
    tnk_sparse_matrix matrix;
    std::vector<tnk_int> columns, start, end;
    std::vector<Number> values;
  };
};
using PublicForms = testing::Types<Wide<float>, Wide<double>, Wide<tnk_complex8>, Wide<tnk_complex16>>;
TYPED_TEST_SUITE(PublicConvert, PublicForms);

TYPED_TEST(PublicConvert, ThereAndBack) {
  using T = typename TypeParam::first_type;
  for (const tnk_int m : {0, 1, 2, 7, 18})
    for (const tnk_int n : {m, tnk_int{1}, tnk_int{11}})
      for (const tnk_int base : {0, 1})
        for (const tnk_int most : {0, 4}) {
          const auto a = this->matrix(m, n, base, most);
          const auto rows = this->view(a);
          for (int to = TNK_SPARSE_CSR; to <= TNK_SPARSE_CSC; ++to)
            for (const auto triangle : {TNK_SPARSE_LOWER, TNK_SPARSE_UPPER})
              for (const tnk_int size : {1, 3, 20}) {
                const auto storage = static_cast<tnk_sparse_storage>(to);
                const bool any =
                    storage == TNK_SPARSE_CSR || storage == TNK_SPARSE_COO || storage == TNK_SPARSE_CSC;
                if (m != n && !any) continue;
                SCOPED_TRACE(testing::Message() << m << " by " << n << ", base " << base << ", storage " << to
                                                << ", blocks of " << size << ", triangle " << triangle);
                const auto d = this->descriptor(base, triangle);
                allocations.reset();
                tnk_sparse_matrix other{}, back{};
                const typename TestFixture::Scattered scattered(a, rows);
                ASSERT_EQ(
                    this->run("convert", size == 3 ? &scattered.matrix : &rows, &d, storage, size, &other),
                    TNK_SPARSE_OK);
                ASSERT_EQ(this->run("convert", &other, &d, TNK_SPARSE_CSR, tnk_int{0}, &back), TNK_SPARSE_OK);
                tnk_sparse_free(&other);
                auto meant = a;
                if (storage == TNK_SPARSE_SKY) { // its triangle
                  meant = Csr<T, tnk_int>(m, n, base);
                  for (tnk_int i = 0; i < m; ++i) {
                    for (tnk_int k = a.pointer[a.at(i)] - base; k < a.pointer[a.at(i) + 1] - base; ++k)
                      if (const tnk_int j = a.columns[a.at(k)] - base;
                          triangle == TNK_SPARSE_LOWER ? j <= i : j >= i)
                        meant.append(j, a.values[a.at(k)]);
                    meant.end_row();
                  }
                }
                EXPECT_TRUE(this->taken(back, base) == meant);
                EXPECT_TRUE(allocations.live == 0 && allocations.overrun == 0);
              }
          // Dense ones, with room between their columns.
          const auto d = this->descriptor(base);
          std::vector<T> dense(a.at((m + 2) * n + 1), narrow<T>(9));
          ASSERT_EQ(this->run("to_dense", &rows, &d, dense.data(), m + 2), TNK_SPARSE_OK);
          const auto elements = a.dense();
          for (tnk_int j = 0; j < n; ++j)
            for (tnk_int i = 0; i < m + 2; ++i)
              EXPECT_EQ(widened(dense[a.at(i + j * (m + 2))]), i < m ? elements(i, j) : wide(9));
          tnk_sparse_matrix back{};
          ASSERT_EQ(this->run("from_dense", m, n, dense.data(), m + 2, &d, &back), TNK_SPARSE_OK);
          EXPECT_TRUE(this->taken(back, base) == a);
        }
}

TYPED_TEST(PublicConvert, SumsAndProductsAreThoseOfDenseMatrices) {
  using T = typename TypeParam::first_type;
  allocations.reset();
  for (const tnk_int m : {0, 1, 6, 13})
    for (const tnk_int n : {1, 5})
      for (const tnk_int base : {0, 1})
        for (const char op : {'n', 'T', 'c'})
          for (const bool sorted : {true, false}) {
            SCOPED_TRACE(testing::Message() << m << " by " << n << ", base " << base << ' ' << op << sorted);
            const bool turned = op != 'n';
            const tnk_int k = 4;
            const auto a = this->matrix(m, n, base, 5, sorted);
            const auto b = this->matrix(turned ? n : m, turned ? m : n, base, 5, sorted);
            const auto factor = turned ? this->matrix(m, k, base, 3) : this->matrix(n, k, base, 3);
            const T beta = narrow<T>(this->pair(2, -1));
            const auto d = this->descriptor(base);
            const auto av = this->view(a), bv = this->view(b), fv = this->view(factor);
            const auto before_a = a, before_b = b;
            tnk_sparse_matrix sum{}, product{};
            ASSERT_EQ(this->run("add", op, &av, &beta, &bv, &d, &sum), TNK_SPARSE_OK);
            ASSERT_EQ(this->run("multiply", op, &av, &fv, &d, &product), TNK_SPARSE_OK);
            EXPECT_TRUE(a == before_a && b == before_b);
            const auto c = this->taken(sum, base), p = this->taken(product, base);
            EXPECT_TRUE(c.dense() == a.dense() + widened(beta) * b.dense().form(op));
            EXPECT_TRUE(p.dense() == a.dense().form(op) * factor.dense());
            for (tnk_int i = 0; i < m; ++i)
              EXPECT_TRUE(std::is_sorted(c.columns.begin() + c.pointer[c.at(i)] - base,
                                         c.columns.begin() + c.pointer[c.at(i) + 1] - base));
          }
  EXPECT_EQ(allocations.live, 0);
}

// A status, no result, nothing kept: for each request of each routine. Kernels that would use a table untested are not
// called without it.
TYPED_TEST(PublicConvert, WithoutMemoryNothingIsMade) {
  using T = typename TypeParam::first_type;
  ErrorRecorder errors;
  allocations.reset();
  const auto a = this->matrix(9, 9, 0, 4, false);
  const auto v = this->view(a);
  const auto d = this->descriptor(0);
  const T beta = narrow<T>(1);
  tnk_sparse_matrix made[6];
  for (int s = TNK_SPARSE_CSR; s <= TNK_SPARSE_CSC; ++s) {
    made[s] = {};
    ASSERT_EQ(this->run("convert", &v, &d, static_cast<tnk_sparse_storage>(s), tnk_int{2}, &made[s]),
              TNK_SPARSE_OK);
  }
  const int live = allocations.live;
  const typename TestFixture::Scattered scattered(a, v);
  tnk_sparse_matrix result;
  std::memset(static_cast<void *>(&result), 0x5A, sizeof result);
  const tnk_sparse_matrix untouched = result;
  // Requests by their numbers; `-` is one of a kernel that would use its table untested.
  const auto trial = [&](const std::string &what, const std::string &requests, auto job) {
    for (std::size_t k = 0; k < requests.size(); ++k) {
      if (requests[k] == '-') continue;
      allocations.refuse = static_cast<int>(k) + 1;
      EXPECT_EQ(job(), TNK_SPARSE_NO_MEMORY) << what << ' ' << k;
      EXPECT_EQ(errors.take().kind, TNK_ERROR_MEMORY) << what << ' ' << k;
      EXPECT_TRUE(std::memcmp(&result, &untouched, sizeof result) == 0 && allocations.live == live)
          << what << ' ' << k;
    }
  };
  const auto to = [&](const tnk_sparse_matrix &from, tnk_sparse_storage storage) {
    return [&, storage] { return this->run("convert", &from, &d, storage, tnk_int{2}, &result); };
  };
  const char *const requests[] = {"r", "r", "srs", "rr", "rs-rs", "r"};
  for (int s = TNK_SPARSE_CSR; s <= TNK_SPARSE_CSC; ++s) {
    const auto storage = static_cast<tnk_sparse_storage>(s);
    trial("to " + std::to_string(s), requests[s], to(v, storage));
    trial("from " + std::to_string(s), "r", to(made[s], TNK_SPARSE_CSR));
    trial("gaps " + std::to_string(s), "r", to(scattered.matrix, storage));
  }
  trial("sum", "rrsr", [&] { return this->run("add", 't', &v, &beta, &v, &d, &result); });
  trial("product", "rrsrr", [&] { return this->run("multiply", 't', &v, &v, &d, &result); });
  for (auto &m : made) tnk_sparse_free(&m);
  EXPECT_EQ(allocations.live, 0);
}

TEST(PublicConversions, BadArgumentsAreRefusedByName) {
  const double values[3] = {1, 2, 3}, one = 1;
  const tnk_int columns[3] = {0, 1, 2}, start[3] = {0, 1, 3};
  tnk_sparse_matrix a{}, square{}, result{};
  a.m = 2, a.n = a.nnz = 3, a.values = values, a.col_index = columns, a.row_start = start,
  a.row_end = start + 1;
  square = a, square.n = 2, square.nnz = 2;
  const tnk_sparse_descriptor d{};
  tnk_sparse_descriptor symmetric{};
  symmetric.kind = TNK_SPARSE_SYMMETRIC;
  double dense[8];
  ErrorRecorder errors;
  const auto convert = [&](const tnk_sparse_matrix &m, int storage, tnk_int size, tnk_sparse_matrix *r) {
    return tnk_sparse_dconvert(&m, &d, static_cast<tnk_sparse_storage>(storage), size, r);
  };
  const auto refused = [&](tnk_sparse_status status, const std::string &routine, const std::string &message) {
    EXPECT_EQ(status, TNK_SPARSE_BAD_ARGUMENT) << message;
    const std::string beginning = "tnk_sparse_d" + routine + ": argument " + message + ", expected ";
    EXPECT_EQ(errors.bad_argument().substr(0, beginning.size()), beginning);
  };
  refused(convert(a, 6, 1, &result), "convert", "3 (storage) is 6");
  refused(convert(a, TNK_SPARSE_DIA, 1, &result), "convert", "1 (matrix->n) is 3");
  refused(convert(square, TNK_SPARSE_BSR, 0, &result), "convert", "4 (block_size) is 0");
  refused(convert(a, TNK_SPARSE_COO, 1, nullptr), "convert", "5 (result) is a null address");
  refused(tnk_sparse_dto_dense(&a, &d, dense, 1), "to_dense", "4 (ld) is 1");
  refused(tnk_sparse_dfrom_dense(3, 2, dense, 2, &d, &result), "from_dense", "4 (ld) is 2");
  refused(tnk_sparse_dadd('X', &a, &one, &a, &d, &result), "add", "1 (op) is 'X'");
  refused(tnk_sparse_dadd('N', &a, &one, &a, &symmetric, &result), "add", "2 (matrix->n) is 3");
  refused(tnk_sparse_dadd('N', &square, &one, &square, &symmetric, &result), "add",
          "5 (descriptor->kind) is 1");
  refused(tnk_sparse_dadd('T', &a, &one, &a, &d, &result), "add", "4 (matrix->m) is 2");
  refused(tnk_sparse_dmultiply('N', &a, &a, &d, &result), "multiply", "3 (matrix->m) is 2");
  tnk_sparse_free(nullptr);
  EXPECT_EQ(result.owned, nullptr);
}

} // namespace
