// The sparse grid by its grammar: each kernel of the export list is found by its name and held against what its letters
// mean.
#include "sparse/grid_call.h"
#include "sparse/stored.h"
#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <map>

namespace {

using namespace tnk::test;
using namespace tnk::test::reference;

// A kernel on one matrix, whole and in pieces. The number decides what is stored where.
template <class T, class I> class Trial {
public:
  Trial(void *kernel, const GridName &name, int number, Random &random)
      : kernel_(kernel), name_(name), number_(number), random_(random), stored_(some_matrix()), m_(stored_.m),
        n_(stored_.n), sides_(mm_ ? 1 + number : 1), block_(stored_.block), count_(stored_.count),
        stride_(stored_.stride), alpha_(random.number<T>()) {
    // So many right-hand sides announced that rows are multiplied part by part.
    if (cell_of(name) == "csr_mm" && number % 2 == 0) n_ = 20000;
  }

  // What is wrong, or nothing.
  std::string run() {
    const GridMatrix meant(name_, stored_.m * block_, stored_.n * block_, stored_.entries);
    Sides<T> x(meant.columns, sides_, by_rows_, mm_ ? 3 : 0, any_shift());
    Sides<T> y(meant.rows, sides_, by_rows_, mm_ ? 2 : 0, any_shift());
    x.fill([&] { return random_.number<T>(); });
    if (!overwrites_) y.fill([&] { return random_.number<T>(); });
    ldx_ = x.ld(), ldy_ = y.ld();

    if (!does_nothing(x, y)) return "something is done when there is nothing to do";
    if (seq_ || unread_) return difference(meant, x, y, {{9, -9}});
    const tnk_int job = mm_ ? sides_ : name_.storage == "coo" ? count_ : m_;
    const tnk_int a = random_.integer(0, job), b = random_.integer(a, job);
    const Sides<T> y0 = y;
    const std::string whole = difference(meant, x, y, {{1, job}});
    y = y0;
    return !whole.empty() ? whole : difference(meant, x, y, {{1, a}, {a + 1, b}, {b + 1, job}});
  }

private:
  struct Piece {
    tnk_int first, last;
  };

  Stored<T, I> some_matrix() {
    const tnk_int sizes[] = {71, 71, 17, 71, 71, 1, 40, 71}, pointer_bases[] = {0, 1, 7};
    const bool blocks = name_.storage == "bsr", diagonals = name_.storage == "dia";
    // So many rows that diagonals are taken in parts.
    const tnk_int m = blocks ? (sizes[number_] + 5) / 6 : diagonals && number_ == 1 ? 2100 : sizes[number_];
    Stored<T, I> a{name_,
                   random_,
                   [this](bool) { return random_.number<T>(); },
                   m,
                   name_.kind == 'g' ? random_.integer(1, m + 19) : m,
                   blocks ? 1 + number_ : 1};
    if (name_.storage == "coo")
      a.list_triples(10, 20);
    else if (diagonals)
      a.store_diagonals();
    else
      a.compress(pointer_bases[number_ % 3], overwrites_, 0, 70);
    return a;
  }
  // At the end of a page, or of any alignment, that of elements or less.
  std::size_t any_shift() { return number_ % 2 == 0 ? page_end : 4 * random_.integer(0, 7); }

  void call(tnk_int first, tnk_int last, const I *m, const T *x, T *y) const {
    const I from = first, to = last;
    GridArguments<T, I> a;
    a.first = &from, a.last = &to, a.m = m, a.n = &n_, a.sides = &sides_, a.block = &block_;
    a.count = &count_, a.stride = &stride_, a.alpha = &alpha_, a.values = values_.data();
    a.rows = rows_.data(), a.row_end = row_end_.data(), a.columns = columns_.data();
    a.x = x, a.ldx = &ldx_, a.y = y, a.ldy = &ldy_;
    a.call(kernel_, name_);
  }

  // An empty piece, or a whole job without rows. Several right-hand sides that are none: nothing else is read.
  bool does_nothing(const Sides<T> &x, Sides<T> &y) const {
    const Sides<T> y0 = y;
    const I none = 0, negative = -1, one = 1, two = 2;
    if (seq_) {
      call(1, 1, &none, x.data(), y.data());
      call(1, 1, &negative, x.data(), y.data());
    } else if (mm_) {
      GridArguments<T, I>{&two, &one}.call(kernel_, name_);
    } else if (!unread_) {
      call(2, 1, &m_, x.data(), y.data());
    }
    return y.same_as(y0);
  }

  // What is wrong after the job is done in these pieces. y is of no use afterwards.
  std::string difference(const GridMatrix<T> &meant, const Sides<T> &x, Sides<T> &y,
                         const std::vector<Piece> &pieces) {
    const Sides<T> y0 = y;
    std::vector<wide> added(meant.rows);
    for (const Piece piece : pieces)
      if (!private_)
        call(piece.first, piece.last, &m_, x.data(), y.data());
      else if (!add_private(piece, meant.rows, x, added))
        return "outside of a private output";

    // Each piece of triples adds all of a diagonal of ones, which is meant once.
    long double surplus = 0;
    if (name_.storage == "coo" && private_ && name_.diagonal == 'u')
      surplus = std::count_if(pieces.begin(), pieces.end(), [](Piece p) { return p.first <= p.last; }) - 1;
    for (tnk_int k = 0; k < sides_; ++k) {
      const auto start = y0.side(k), vector = x.side(k);
      auto result = y.side(k);
      auto sums = meant.times(vector);
      for (tnk_int i = 0; i < meant.rows; ++i) {
        result[i] += added[i];
        if (surplus > 0) sums[i].add(surplus, surplus, vector[i]);
      }
      const std::string wrong = wrong_row<T>(sums, result, overwrites_ ? 1 : widened(alpha_),
                                             overwrites_ ? std::vector<wide>(start.size()) : start);
      if (!wrong.empty()) return "side " + std::to_string(k) + ", " + wrong;
    }
    return y.intact() ? "" : "outside of the output";
  }

  // A piece with an output of its own, no longer than it need be. Compressed rows of an upper triangle that is mirrored
  // take vectors from their first row on, those of a lower one up to their last.
  bool add_private(Piece piece, tnk_int size, const Sides<T> &x, std::vector<wide> &added) {
    const bool mirrored_rows = name_.storage != "coo" && name_.mirrors(), lower = name_.triangle == 'l';
    const tnk_int start = mirrored_rows && !lower && name_.storage == "csr" ? piece.first - 1 : 0;
    const tnk_int end = mirrored_rows && lower ? piece.last * block_ : size;
    Sides<T> own(end - start, 1, false, 0, any_shift());
    own.fill([] { return T{}; });
    call(piece.first, piece.last, &m_, x.data() + start, own.data());
    const auto sums = own.side(0);
    for (tnk_int i = start; i < end; ++i) added[i] += sums[i - start];
    return own.intact();
  }

  void *const kernel_;
  const GridName &name_;
  const int number_;
  Random &random_;
  const bool mm_ = name_.operation == "mm", seq_ = name_.mode == "seq", by_rows_ = name_.layout == 'c';
  const bool overwrites_ = name_.operation == "gemv";
  // Whether first and last are not read, and whether each piece needs an output of its own.
  const bool unread_ =
      !mm_ && !seq_ && (name_.storage == "dia" || (name_.storage == "coo" && name_.kind == 't'));
  const bool private_ =
      !mm_ && !seq_ && !unread_ && (name_.storage == "coo" || name_.transposed() || name_.mirrors());
  const Stored<T, I> stored_;
  // The arrays end with a page. Values that are not aligned to their size do not.
  const Guarded<I> rows_{stored_.rows}, row_end_{stored_.row_end}, columns_{stored_.columns};
  const Guarded<T> values_{stored_.values, number_ % 2 == 0 ? page_end : 2 * number_ + 2u};
  I m_, n_, sides_, block_, count_, stride_, ldx_ = 0, ldy_ = 0;
  const T alpha_;
};

// Eight trials for each kernel, dealt with a fixed seed to its two integer widths, four to each.
TEST(SparseGrid, DoesWhatItsLettersSay) {
  Random random;
  std::map<std::string, std::vector<int>> dealt;
  for (const std::string &text : exported_names()) {
    const GridName name = decoded(text).value();
    if (name.solves()) continue;
    void *const kernel = dlsym(RTLD_DEFAULT, text.c_str());
    std::string wrong = kernel ? "" : "missing";
    EXPECT_EQ(wrong, "") << text;
    std::vector<int> &numbers = dealt[text.substr(text.find(name.type + name.storage))];
    for (int number = 0; numbers.size() < 8 && number < 8; ++number)
      numbers.insert(numbers.begin() + random.integer(0, number), number);
    const auto share = numbers.begin() + (name.lp64 ? 4 : 0);
    for (auto number = share; number != share + 4 && wrong.empty(); ++number) {
      wrong = with_types(name, [&](auto zero, auto index) {
        return Trial<decltype(zero), decltype(index)>(kernel, name, *number, random).run();
      });
      EXPECT_EQ(wrong, "") << text << ", trial " << *number;
    }
  }
}

} // namespace
