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

std::string core_head(const std::string &core) {
  return "vs " + core;
}

int core_width(const std::string &core) {
  return static_cast<int>(core_head(core).size()) + 1;
}

} // namespace

bool ReadingsParser::take(const std::string &line) {
  if (line.rfind("# ", 0) == 0) {
    const auto colon = line.find(": ");
    if (colon == std::string::npos) throw Failure("the bench program wrote a remark without a key: " + line);
    remarks[line.substr(2, colon - 2)] = line.substr(colon + 2);
    return false;
  }
  const auto fields = split(line, '\t');
  if (columns_.empty()) {
    columns_ = fields;
    return false;
  }
  if (fields.size() != columns_.size()) throw Failure("the bench program wrote a broken line: " + line);
  Reading reading;
  std::string name;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const std::string &column = columns_[i], &field = fields[i];
    if (column == "row") name = field;
    if (column == "seconds") reading.seconds = number(field);
    if (column == "GB/s") reading.gigabytes = number(field);
    if (column == "Gflop/s") reading.gigaflops = number(field);
    if (column == "limit") reading.limit = number(field);
    if (column == "peer_seconds") reading.peer_seconds = number(field);
    if (column == "ratio") reading.ratio = number(field);
    if (column == "limited_by") reading.limited_by = field;
    if (column == "note") reading.note = field;
    if (column == "error") reading.error = field;
  }
  if (reading.error.empty() && !reading.seconds) reading.error = "no time was reported";
  rows[name] = reading;
  return true;
}

std::string BenchRow::error() const {
  if (!fair.error.empty()) return fair.error;
  return best ? best->error : "";
}

ListedRow listed_row(const std::string &line) {
  const auto fields = split(line, '\t');
  if (fields.size() != 3) throw Failure("the bench program wrote a broken line: " + line);
  return {fields[0], fields[1], fields[2]};
}

BenchRow join(const ListedRow &listed, const std::map<std::string, Reading> &fair,
              const std::map<std::string, Reading> *best) {
  const auto reading = [&](const std::map<std::string, Reading> &readings) {
    const auto found = readings.find(listed.name);
    if (found != readings.end()) return found->second;
    Reading missing;
    missing.error = "the bench program ended before it";
    return missing;
  };
  const auto slash = listed.name.find('/');
  BenchRow row;
  row.kernel = listed.name.substr(0, slash);
  row.group = listed.group;
  row.compared_with = listed.compared_with;
  row.n = slash == std::string::npos ? 0 : std::atoll(listed.name.c_str() + slash + 1);
  row.fair = reading(fair);
  if (best) row.best = reading(*best);
  return row;
}

std::string Table::head(bool own_peers) const {
  const std::string start = format("%-*s %9s %16s %10s", kernel_width, "kernel", "n", "ours", "limit");
  if (own_peers) return start + "   ratio  compared with\n";
  std::string head = start;
  for (const std::string &core : {cores.fair, cores.best})
    if (!core.empty()) head += format(" %*s", core_width(core), core_head(core).c_str());
  return head + "\n";
}

std::string Table::line(const BenchRow &row) const {
  const std::string start = format("%-*s %9lld", kernel_width, row.kernel.c_str(), row.n);
  if (const std::string error = row.error(); !error.empty()) return start + "  error: " + error + "\n";
  const bool flops = row.fair.limited_by == "flops";
  const double rate = (flops ? row.fair.gigaflops : row.fair.gigabytes).value_or(0);
  std::string line = start + format(" %8.1f %7s %3.0f%% %5s", rate, flops ? "Gflop/s" : "GB/s",
                                    100 * row.fair.limit.value_or(0), row.fair.limited_by.c_str());
  if (!row.compared_with.empty()) {
    line += format(" %7s  ", ratio_text(row.fair.ratio).c_str()) + row.compared_with;
  } else {
    if (!cores.fair.empty())
      line += format(" %*s", core_width(cores.fair), ratio_text(row.fair.ratio).c_str());
    if (!cores.best.empty() && row.best)
      line += format(" %*s", core_width(cores.best), ratio_text(row.best->ratio).c_str());
  }
  for (const std::string &note : {row.fair.note, row.best ? row.best->note : ""})
    if (!note.empty()) return line + "  " + note + "\n";
  return line + "\n";
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
  file += "group,kernel,n,seconds,GB/s,Gflop/s,limited_by,fraction_of_limit,compared_with,ratio,peer_seconds,"
          "ratio_best,peer_seconds_best,note,note_best,error\n";
  for (const BenchRow &row : rows) {
    const Reading best = row.best.value_or(Reading());
    file += csv_field(row.group) + "," + csv_field(row.kernel) + "," + format("%lld", row.n);
    for (const auto &value : {row.fair.seconds, row.fair.gigabytes, row.fair.gigaflops})
      file += "," + csv_number(value);
    file += "," + csv_field(row.fair.limited_by) + "," + csv_number(row.fair.limit) + "," +
            csv_field(row.compared_with.empty() ? "OpenBLAS" : row.compared_with);
    for (const auto &value : {row.fair.ratio, row.fair.peer_seconds, best.ratio, best.peer_seconds})
      file += "," + csv_number(value);
    for (const std::string &text : {row.fair.note, best.note, row.error()}) file += "," + csv_field(text);
    file += "\n";
  }
  return file;
}

} // namespace tnk::tool
