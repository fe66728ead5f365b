// How many cattle the sun had: the problem that Archimedes is said to have sent to Eratosthenes, whose smallest answer
// has 206,545 digits. The herd's size is 50389082 * 4456749 v^2, where u^2 - 4729494 (9314 v)^2 = 1 has to hold for whole
// numbers (Amthor, 1880).
#include <cstdio>
#include <string>
#include <tnk/integer.hpp>

using tnk::Integer;

// x^2 - d y^2 = 1.
struct Solution {
  Integer x, y;
};

// The smallest one, among the fractions x / y that come near the square root of d.
static Solution smallest(const Integer &d) {
  const Integer root = sqrt(d);
  Integer m, q = 1, a = root, x0 = 1, x = root, y0, y = 1;
  while (x * x - d * y * y != 1) {
    m = a * q - m;
    q = (d - m * m) / q;
    a = (root + m) / q;
    const Integer x2 = a * x + x0, y2 = a * y + y0;
    x0 = x, y0 = y;
    x = x2, y = y2;
  }
  return {x, y};
}

// All others are powers of x + y sqrt(d).
static Solution times(const Solution &a, const Solution &b, const Integer &d) {
  return {a.x * b.x + d * a.y * b.y, a.x * b.y + a.y * b.x};
}

int main() {
  try {
    const Integer d = 4729494;
    const Solution first = smallest(d);
    // The first power whose y is a multiple of 9314, found by remainders alone; then that power, by squares.
    int power = 1;
    for (Solution s = first; s.y % 9314; ++power) {
      s = times(s, first, d);
      s.x %= 9314, s.y %= 9314;
    }
    Solution answer = {1, 0};
    for (int bit = 1 << 30; bit; bit >>= 1) {
      answer = times(answer, answer, d);
      if (power & bit) answer = times(answer, first, d);
    }
    const Integer v = answer.y / 9314;
    const std::string herd = (Integer(50389082) * 4456749 * v * v).text();
    std::printf("%s...%s, %zu digits\n", herd.substr(0, 12).c_str(), herd.substr(herd.size() - 12).c_str(),
                herd.size());
  } catch (const std::exception &error) {
    std::fprintf(stderr, "cattle: %s\n", error.what());
    return 1;
  }
}
