// Public integers beside GMP: text, divisors, roots and factorials. Each contender has records of its own, made from the
// same text, and results are compared as text.
#include "bench/families.h"

#include <tnk/integer.h>

#include <functional>
#include <memory>
#include <random>
#include <string>

namespace tnk::bench {
namespace {

using Record = tnk_gmp_integer;

// What a row needs of one library: the peer's by published names, ours behind functions of the same types.
struct Library {
  void (*init)(Record *);
  void (*clear)(Record *);
  int (*set_str)(Record *, const char *, int);
  char *(*get_str)(char *, int, const Record *);
  void (*mul)(Record *, const Record *, const Record *);
  void (*gcd)(Record *, const Record *, const Record *);
  void (*gcdext)(Record *, Record *, Record *, const Record *, const Record *);
  int (*jacobi)(const Record *, const Record *);
  void (*sqrt)(Record *, const Record *);
  void (*fac_ui)(Record *, uint64_t);
};

const Library ours = {
    [](Record *r) { *r = TNK_INTEGER_ZERO; },
    [](Record *r) { tnk_integer_clear(r); },
    [](Record *r, const char *text, int base) {
      return static_cast<int>(tnk_integer_set_text(r, text, base));
    },
    [](char *text, int base, const Record *a) {
      size_t room;
      tnk_integer_text_room(&room, a, base);
      return tnk_integer_get_text(text, room, a, base) == TNK_INTEGER_DONE ? text : nullptr;
    },
    [](Record *r, const Record *a, const Record *b) { tnk_integer_multiply(r, a, b); },
    [](Record *r, const Record *a, const Record *b) { tnk_integer_gcd(r, a, b); },
    [](Record *g, Record *s, Record *t, const Record *a, const Record *b) {
      tnk_integer_gcd_extended(g, s, t, a, b);
    },
    [](const Record *a, const Record *b) {
      int symbol = 2;
      tnk_integer_kronecker(&symbol, a, b);
      return symbol;
    },
    [](Record *r, const Record *a) { tnk_integer_sqrt(r, nullptr, a); },
    [](Record *r, uint64_t n) { tnk_integer_factorial(r, n); },
};

const Library *peer() {
  static Library found;
  const auto find = [](auto &function, const char *name) {
    function = gmp().routine<std::remove_pointer_t<std::remove_reference_t<decltype(function)>>>(name);
  };
  find(found.init, "__gmpz_init"), find(found.clear, "__gmpz_clear");
  find(found.set_str, "__gmpz_set_str"), find(found.get_str, "__gmpz_get_str");
  find(found.mul, "__gmpz_mul"), find(found.gcd, "__gmpz_gcd"), find(found.gcdext, "__gmpz_gcdext");
  find(found.jacobi, "__gmpz_jacobi"), find(found.sqrt, "__gmpz_sqrt"), find(found.fac_ui, "__gmpz_fac_ui");
  return found.init ? &found : nullptr;
}

std::string digits(std::size_t count) {
  static std::mt19937_64 engine;
  std::string text;
  while (text.size() < count) text.push_back(static_cast<char>('1' + engine() % 9));
  return text;
}

// Two operands and results of one library.
struct Numbers {
  const Library &library;
  std::string text, other_text, written;
  Record a, b, r, s, t;
  double answer = 0;

  Numbers(const Library &l, const std::string &first, const std::string &second)
      : library(l), text(first), other_text(second), written(first.size() + 2, '\0') {
    for (Record *x : {&a, &b, &r, &s, &t}) library.init(x);
    library.set_str(&a, text.c_str(), 10), library.set_str(&b, other_text.c_str(), 10);
  }
  ~Numbers() {
    for (Record *x : {&a, &b, &r, &s, &t}) library.clear(x);
  }
  Numbers(const Numbers &) = delete;
  Numbers &operator=(const Numbers &) = delete;
};

using Action = void (*)(Numbers &, tnk_int);

// Operands of n limbs, or of n digits.
Case compared(tnk_int n, bool of_digits, Action action) {
  const auto length = of_digits ? static_cast<std::size_t>(n) : static_cast<std::size_t>(n * 1926 / 100);
  const std::string first = digits(length), second = digits(length - 1) + "7";
  const auto a = std::make_shared<Numbers>(ours, first, second);
  const auto b = peer() ? std::make_shared<Numbers>(*peer(), first, second) : nullptr;
  const auto loop = [=](const std::shared_ptr<Numbers> &numbers) {
    return [=](long count) {
      while (count--) action(*numbers, n);
    };
  };
  Case made;
  made.ours = loop(a);
  if (b) made.peer = loop(b);
  made.work = 1;
  // Whether both have the same, in all that an action writes.
  made.error = [=] {
    loop(a)(1);
    if (!b) return 0.0;
    loop(b)(1);
    const auto text = [](Numbers &x, const Record &record) {
      std::string result(static_cast<std::size_t>(std::abs(record.size)) * 20 + 2, '\0');
      x.library.get_str(result.data(), 16, &record);
      return std::string(result.c_str());
    };
    bool same = a->answer == b->answer && a->written == b->written;
    for (Record Numbers::*record : {&Numbers::a, &Numbers::r, &Numbers::s, &Numbers::t})
      same = same && text(*a, (*a).*record) == text(*b, (*b).*record);
    return same ? 0.0 : 1.0;
  };
  made.allowed = 0;
  return made;
}

} // namespace

void add_integers(std::vector<Row> &rows) {
  const auto add = [&](const char *name, std::vector<tnk_int> sizes, bool of_digits, Action action) {
    Row row;
    row.group = "gmp/integers", row.name = name, row.sizes = std::move(sizes), row.quick = 100;
    row.unit = "call", row.picture = "integers", row.library = &gmp();
    row.prepare = [=](tnk_int n) { return compared(n, of_digits, action); };
    rows.push_back(row);
  };
  add("multiply", {4, 16, 100, 1000}, false, [](Numbers &x, tnk_int) { x.library.mul(&x.r, &x.a, &x.b); });
  add("gcd", {4, 10, 100, 1000}, false, [](Numbers &x, tnk_int) { x.library.gcd(&x.r, &x.a, &x.b); });
  add("gcd_extended", {10, 100, 1000}, false,
      [](Numbers &x, tnk_int) { x.library.gcdext(&x.r, &x.s, &x.t, &x.a, &x.b); });
  add("kronecker", {10, 100}, false, [](Numbers &x, tnk_int) { x.answer = x.library.jacobi(&x.a, &x.b); });
  add("sqrt", {10, 100, 1000}, false, [](Numbers &x, tnk_int) { x.library.sqrt(&x.r, &x.a); });
  add("factorial", {100, 10000}, true,
      [](Numbers &x, tnk_int n) { x.library.fac_ui(&x.r, static_cast<uint64_t>(n)); });
  add("set_text", {100, 10000, 100000}, true,
      [](Numbers &x, tnk_int) { x.library.set_str(&x.r, x.text.c_str(), 10); });
  add("get_text", {100, 10000, 100000}, true,
      [](Numbers &x, tnk_int) { x.library.get_str(x.written.data(), 10, &x.a); });
}

} // namespace tnk::bench
