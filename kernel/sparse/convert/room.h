// Compressed rows as the result of a sum or product, filled row by row within the room that there is.
#pragma once

#include "kernel/frame/element.h"

namespace tnk::sparse {

// What is made of a result.
enum Request { all_of_it = 0, row_pointer_only = 1, entries_only = 2 };

// Columns and positions from one in the arrays, from zero in the calls.
template <class T, class I> class Result {
public:
  Result(I request, T *values, I *columns, I *pointer, I room, I *info)
      : with_entries_(request != row_pointer_only), with_pointer_(request != entries_only), values_(values),
        columns_(columns), pointer_(pointer), room_(room), info_(info) {
    *info = 0;
    if (with_pointer_) put(pointer, I{1});
  }

  void begin_row(I i) {
    if (!with_pointer_) count_ = get(pointer_ + i) - 1;
  }
  void end_row(I i) {
    if (with_pointer_) put(pointer_ + i + 1, static_cast<I>(count_ + 1));
  }
  // False, and row i reported, when the entry does not fit. Without entries everything does.
  template <class Value> bool append(I i, I column, Value value) {
    if (with_entries_) {
      if (count_ >= room_) {
        *info_ = i + 1;
        return false;
      }
      put(columns_ + count_, static_cast<I>(column + 1));
      put(values_ + count_, value());
    }
    ++count_;
    return true;
  }
  // To an entry that was appended before.
  void add(I place, T value) {
    if (with_entries_) put(values_ + place, get(values_ + place) + value);
  }
  I count() const { return count_; }

private:
  bool with_entries_, with_pointer_;
  T *values_;
  I *columns_, *pointer_, room_, *info_, count_ = 0;
};

} // namespace tnk::sparse
