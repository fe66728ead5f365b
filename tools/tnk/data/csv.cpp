#include "tools/tnk/data/csv.h"
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
  Parser(std::string_view text, const std::string &source) : rest_(text), source_(source) {
    constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
    if (rest_.substr(0, byte_order_mark.size()) == byte_order_mark)
      rest_.remove_prefix(byte_order_mark.size());
  }

  // The fields of the next line that is not blank; false at the end.
  bool next(std::vector<std::string> &fields) {
    while (!rest_.empty()) {
      ++line_;
      const std::string_view line = take_line();
      if (line.find_first_not_of(" \t") == std::string_view::npos) continue;
      split(line, fields);
      return true;
    }
    return false;
  }

  [[noreturn]] void fail(const std::string &what) const {
    throw Failure(format("%s, line %d: %s", source_.c_str(), line_, what.c_str()));
  }

private:
  std::string_view take_line() {
    const std::size_t end = rest_.find('\n');
    std::string_view line = rest_.substr(0, end);
    rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return line;
  }

  void split(std::string_view line, std::vector<std::string> &fields) const {
    fields.clear();
    for (;;) {
      const auto start = std::min(line.find_first_not_of(" \t"), line.size());
      line.remove_prefix(start);
      fields.push_back(!line.empty() && line.front() == '"' ? quoted(line) : plain(line));
      if (line.empty()) return;
      line.remove_prefix(1);
    }
  }

  // Both take one field off the line and leave the comma after it, if there is one.
  static std::string plain(std::string_view &line) {
    const std::string_view field = line.substr(0, line.find(','));
    line.remove_prefix(field.size());
    return std::string(field.substr(0, field.find_last_not_of(" \t") + 1));
  }

  std::string quoted(std::string_view &line) const {
    std::string field;
    std::size_t i = 1;
    for (;; ++i) {
      if (i >= line.size()) fail("a quoted field does not end on its line");
      if (line[i] == '"' && (i + 1 >= line.size() || line[i + 1] != '"')) break;
      if (line[i] == '"') ++i;
      field += line[i];
    }
    line.remove_prefix(i + 1);
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    if (!line.empty() && line.front() != ',') fail("text follows a quoted field");
    return field;
  }

  std::string_view rest_;
  const std::string &source_;
  int line_ = 0;
};

bool parse_number(const std::string &field, double &value) {
  const char *first = field.data(), *last = first + field.size();
  if (field.size() > 1 && *first == '+' && first[1] != '-') ++first;
  const auto [end, error] = std::from_chars(first, last, value);
  return error == std::errc() && end == last && std::isfinite(value);
}

} // namespace

const std::vector<double> &CsvTable::column(std::string_view name) const {
  const auto found = std::find(names.begin(), names.end(), name);
  if (found != names.end()) return columns[static_cast<std::size_t>(found - names.begin())];
  std::string all;
  for (const std::string &other : names) all += (all.empty() ? "" : ", ") + other;
  throw Failure(source + ": no column \"" + std::string(name) + "\"; it has: " + all);
}

CsvTable parse_csv(std::string_view text, const std::string &source) {
  CsvTable table;
  table.source = source;
  Parser parser(text, source);
  if (!parser.next(table.names)) throw Failure(source + ": the file is empty; a header line was expected");
  for (auto name = table.names.begin(); name != table.names.end(); ++name) {
    if (name->empty()) parser.fail("a column has no name");
    if (std::find(table.names.begin(), name, *name) != name)
      parser.fail("column \"" + *name + "\" stands there twice");
  }
  table.columns.resize(table.names.size());

  std::vector<std::string> fields;
  while (parser.next(fields)) {
    if (fields.size() != table.names.size())
      parser.fail(format("%zu fields, where the header has %zu", fields.size(), table.names.size()));
    for (std::size_t i = 0; i < fields.size(); ++i) {
      double value;
      if (!parse_number(fields[i], value))
        parser.fail("column \"" + table.names[i] + "\" holds \"" + fields[i] +
                    "\", which is no finite number");
      table.columns[i].push_back(value);
    }
  }
  if (table.rows() == 0) throw Failure(source + ": no line of numbers below the header");
  return table;
}

CsvTable read_csv(const std::filesystem::path &path) {
  return parse_csv(read_file(path), path.string());
}

} // namespace tnk::tool
