#include "tools/tnk/data/matrix_market.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/files.h"
#include "tools/tnk/support/format.h"
#include <algorithm>
#include <charconv>
#include <cmath>

namespace tnk::tool {
namespace {

class Parser {
public:
  Parser(std::string_view text, const std::string &source) : rest_(text), source_(source) {}

  // The words of the next line; false at the end.
  bool next(std::vector<std::string_view> &words) {
    words.clear();
    if (rest_.empty()) return false;
    ++line_;
    const std::size_t end = rest_.find('\n');
    std::string_view line = rest_.substr(0, end);
    rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
    constexpr const char *blanks = " \t\r";
    for (std::size_t at = 0; (at = line.find_first_not_of(blanks, at)) != std::string_view::npos;) {
      const std::size_t stop = std::min(line.find_first_of(blanks, at), line.size());
      words.push_back(line.substr(at, stop - at));
      at = stop;
    }
    return true;
  }
  // The next line that is neither blank nor a comment.
  bool next_data(std::vector<std::string_view> &words) {
    while (next(words))
      if (!words.empty() && words.front().front() != '%') return true;
    return false;
  }

  std::int64_t integer(std::string_view word, const char *name, std::int64_t low, std::int64_t high) const {
    std::int64_t value;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    if (error != std::errc() || end != word.data() + word.size() || value < low || value > high)
      fail(format("%s is \"%s\", expected an integer from %lld to %lld", name, std::string(word).c_str(),
                  static_cast<long long>(low), static_cast<long long>(high)));
    return value;
  }
  double real(std::string_view word) const {
    double value;
    std::string_view digits = word;
    if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-') digits.remove_prefix(1);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    // Smaller than any double: zero.
    if (error == std::errc::result_out_of_range && end == digits.data() + digits.size()) {
      value = std::strtod(std::string(digits).c_str(), nullptr);
      if (std::isfinite(value)) return value;
    }
    if (error != std::errc() || end != digits.data() + digits.size() || !std::isfinite(value))
      fail("the value is \"" + std::string(word) + "\", expected a finite number");
    return value;
  }

  [[noreturn]] void fail(const std::string &what) const {
    throw Failure(format("%s, line %d: %s", source_.c_str(), line_, what.c_str()));
  }

private:
  std::string_view rest_;
  const std::string &source_;
  int line_ = 0;
};

std::string lower(std::string_view word) {
  std::string text(word);
  for (char &c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return text;
}

} // namespace

MatrixMarket parse_matrix_market(std::string_view text, const std::string &source) {
  Parser parser(text, source);
  std::vector<std::string_view> words;
  if (!parser.next(words)) throw Failure(source + ": the file is empty");
  if (words.size() != 5 || lower(words[0]) != "%%matrixmarket" || lower(words[1]) != "matrix")
    parser.fail("expected \"%%MatrixMarket matrix\" and three words more");
  const auto one_of = [&](std::string_view word, std::initializer_list<const char *> known) {
    std::string all;
    for (const char *name : known) {
      if (lower(word) == name) return std::string(name);
      all += (all.empty() ? "" : ", ") + std::string(name);
    }
    parser.fail("the form \"" + std::string(word) + "\" cannot be read, only: " + all);
  };
  one_of(words[2], {"coordinate"});
  const bool pattern = one_of(words[3], {"real", "integer", "pattern"}) == "pattern";
  MatrixMarket matrix{source, 0, 0, one_of(words[4], {"general", "symmetric"}) == "symmetric", {}};

  if (!parser.next_data(words)) throw Failure(source + ": no line of sizes");
  if (words.size() != 3) parser.fail("expected three sizes: rows, columns, entries");
  constexpr std::int64_t most = std::int64_t{1} << 31;
  matrix.rows = parser.integer(words[0], "the number of rows", 0, most);
  matrix.columns = parser.integer(words[1], "the number of columns", 0, most);
  if (matrix.symmetric && matrix.rows != matrix.columns) parser.fail("a symmetric matrix must be square");
  const std::int64_t count = parser.integer(words[2], "the number of entries", 0, most);

  // Not reserved: the number may be a lie.
  while (parser.next_data(words)) {
    if (static_cast<std::int64_t>(matrix.entries.size()) == count)
      parser.fail(format("more entries than the %lld announced", static_cast<long long>(count)));
    if (words.size() != (pattern ? 2u : 3u))
      parser.fail(pattern ? "expected a row and a column" : "expected a row, a column and a value");
    const std::int64_t row = parser.integer(words[0], "the row", 1, matrix.rows),
                       column = parser.integer(words[1], "the column", 1, matrix.columns);
    if (matrix.symmetric && row < column)
      parser.fail("an entry of the upper triangle in a symmetric matrix, which lists the lower one");
    matrix.entries.push_back({row, column, pattern ? 1.0 : parser.real(words[2])});
  }
  if (static_cast<std::int64_t>(matrix.entries.size()) != count)
    throw Failure(format("%s: ends after %zu entries of the %lld announced", source.c_str(),
                         matrix.entries.size(), static_cast<long long>(count)));
  return matrix;
}

MatrixMarket read_matrix_market(const std::filesystem::path &path) {
  return parse_matrix_market(read_file(path), path.string());
}

} // namespace tnk::tool
