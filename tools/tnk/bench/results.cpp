#include "tools/tnk/bench/results.h"
#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/format.h"
#include <cstdlib>

namespace tnk::tool {
namespace {

std::vector<std::string> split(const std::string &line, char separator) {
  std::vector<std::string> fields;
  std::size_t start = 0;
  for (std::size_t end; (end = line.find(separator, start)) != std::string::npos; start = end + 1)
    fields.push_back(line.substr(start, end - start));
  fields.push_back(line.substr(start));
  return fields;
}

// "" when there is no such column.
std::string field(const TabbedLines::Fields &fields, const char *column) {
  const auto found = fields.find(column);
  return found == fields.end() ? "" : found->second;
}

std::optional<double> number(const std::string &text) {
  char *end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  if (text.empty() || *end) return {};
  return value;
}

std::string ratio_text(const std::optional<double> &ratio) {
  return ratio ? format("%.2f", *ratio) : "-";
}

std::string csv_number(const std::optional<double> &value) {
  return value ? format("%.6g", *value) : "";
}

} // namespace

const TabbedLines::Fields *TabbedLines::take(const std::string &line) {
  if (line.rfind("# ", 0) == 0) {
    const auto colon = line.find(": ");
    if (colon == std::string::npos) throw Failure("the bench program wrote a remark without a key: " + line);
    remarks[line.substr(2, colon - 2)] = line.substr(colon + 2);
    return nullptr;
  }
  const auto values = split(line, '\t');
  if (columns_.empty()) {
    columns_ = values;
    return nullptr;
  }
  if (values.size() != columns_.size()) throw Failure("the bench program wrote a broken line: " + line);
  fields_.clear();
  for (std::size_t i = 0; i < values.size(); ++i) fields_[columns_[i]] = values[i];
  return &fields_;
}

ListedRow listed_row(const TabbedLines::Fields &fields) {
  return {field(fields, "row"),
          field(fields, "group"),
          field(fields, "name"),
          std::atoll(field(fields, "size").c_str()),
          field(fields, "picture"),
          field(fields, "peer"),
          !field(fields, "curve").empty(),
          !field(fields, "cores").empty()};
}

Reading reading(const TabbedLines::Fields &fields) {
  const auto value = [&](const char *column) { return number(field(fields, column)); };
  Reading found;
  found.seconds = value("seconds"), found.rate = value("rate"), found.limit = value("limit");
  found.peer_seconds = value("peer_seconds"), found.ratio = value("ratio");
  found.unit = field(fields, "unit"), found.limited_by = field(fields, "limited_by");
  found.peer = field(fields, "peer"), found.core = field(fields, "core");
  found.absent = field(fields, "absent"), found.note = field(fields, "note");
  found.skipped = field(fields, "skipped"), found.error = field(fields, "error");
  if (found.error.empty() && found.skipped.empty() && !found.seconds) found.error = "no time was reported";
  return found;
}

std::string BenchRow::error() const {
  if (!same.error.empty()) return same.error;
  return best ? best->error : "";
}

BenchRow join(const ListedRow &listed, const Readings &same, const Readings *best) {
  const auto find = [&](const Readings &readings) {
    const auto found = readings.find(listed.full_name);
    if (found != readings.end()) return found->second;
    Reading missing;
    missing.error = "the bench program ended before it";
    return missing;
  };
  BenchRow row{listed, find(same), {}};
  if (best) row.best = find(*best);
  return row;
}

std::string Table::head() const {
  return format("%-*s %9s %15s %11s %7s %s %s\n", name_width_, "routine", "size", "ours", "limit", "ratio",
                with_best_ ? "   best " : "", "compared with");
}

std::string Table::line(const BenchRow &row) const {
  const std::string start = format("%-*s %9lld", name_width_, row.listed.name.c_str(), row.listed.size);
  if (const std::string error = row.error(); !error.empty()) return start + "  error: " + error + "\n";
  const Reading &same = row.same;
  if (!same.skipped.empty()) return start + "  skipped: " + same.skipped + "\n";
  const std::string limit =
      same.limit ? format("%.0f%% %s", 100 * *same.limit, same.limited_by.c_str()) : std::string("-");
  std::string line = start + format(" %15s %11s %7s ", rate_text(same.rate.value_or(0), same.unit).c_str(),
                                    limit.c_str(), ratio_text(same.ratio).c_str());
  if (with_best_) line += format("%7s ", row.best ? ratio_text(row.best->ratio).c_str() : "");
  line += " " + row.listed.peer;
  for (const std::string &note : {same.note, row.best ? row.best->note : ""})
    if (!note.empty()) return line + "; " + note + "\n";
  return line + "\n";
}

std::string Table::cores(const BenchRow &row) {
  if (row.same.core.empty()) return "";
  std::string text = row.same.peer + ": ratio is to its core " + row.same.core;
  if (row.best) text += ", best to its core " + row.best->core;
  if (text == cores_) return "";
  cores_ = text;
  return text + "\n";
}

Prefix prefix_for(double rate) {
  Prefix found = {"", 1};
  for (const Prefix &next : {Prefix{"k", 1e3}, Prefix{"M", 1e6}, Prefix{"G", 1e9}, Prefix{"T", 1e12}})
    if (rate >= 0.99995 * next.factor) found = next; // what would be rounded to 1000.0 takes the next one
  return found;
}

std::string rate_text(double rate, const std::string &unit) {
  const Prefix prefix = prefix_for(rate);
  return format("%.1f %s%s/s", rate / prefix.factor, prefix.text, unit.c_str());
}

std::string csv_field(const std::string &text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' ? "\"\"" : std::string(1, c);
  return quoted + "\"";
}

std::string csv_file(const std::vector<BenchRow> &rows, const std::vector<std::string> &remarks) {
  std::string file;
  for (const std::string &remark : remarks) file += "# " + remark + "\n";
  file += "group,routine,size,seconds,rate,unit,limited_by,fraction_of_limit,compared_with,core,ratio,"
          "peer_seconds,core_best,ratio_best,peer_seconds_best,note,note_best,error\n";
  for (const BenchRow &row : rows) {
    const Reading &same = row.same, best = row.best.value_or(Reading());
    const std::string peer = same.peer.empty() ? row.listed.peer : same.peer;
    const std::string fields[] = {row.listed.group,
                                  row.listed.name,
                                  std::to_string(row.listed.size),
                                  csv_number(same.seconds),
                                  csv_number(same.rate),
                                  same.unit,
                                  same.limited_by,
                                  csv_number(same.limit),
                                  peer,
                                  same.core,
                                  csv_number(same.ratio),
                                  csv_number(same.peer_seconds),
                                  best.core,
                                  csv_number(best.ratio),
                                  csv_number(best.peer_seconds),
                                  same.skipped.empty() ? same.note : "skipped: " + same.skipped,
                                  best.note,
                                  row.error()};
    for (const std::string &text : fields) file += (&text == fields ? "" : ",") + csv_field(text);
    file += "\n";
  }
  return file;
}

} // namespace tnk::tool
