// What the tests of the program share.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <regex>
#include <stdexcept>
#include <string>
#include <vector>

namespace tnk::test {

// A folder of its own that goes with the object.
class TemporaryFolder {
public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tnk test XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
    path_ = pattern;
  }
  TemporaryFolder(const TemporaryFolder &) = delete;
  TemporaryFolder &operator=(const TemporaryFolder &) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  const std::filesystem::path &path() const { return path_; }

private:
  std::filesystem::path path_;
};

// What keeps a text from being an XML document in which every element ends; "" when nothing does.
inline std::string xml_fault(const std::string &text) {
  if (text.rfind("<?xml", 0) != 0) return "no XML declaration";
  const std::string body = text.substr(text.find("?>") + 2);
  const std::regex tag("<(/?)([^ <>/]+)[^<>]*?(/?)>");
  if (std::regex_replace(body, tag, "").find('<') != std::string::npos) return "a tag does not end";
  std::vector<std::string> open = {"the document"};
  int roots = 0;
  for (std::sregex_iterator at(body.begin(), body.end(), tag), end; at != end; ++at) {
    const std::smatch &found = *at;
    roots += open.size() == 1;
    if (found[1].length() == 0 && found[3].length() == 0) open.push_back(found[2]);
    if (found[1].length() == 0) continue;
    if (open.back() != found[2]) return "unexpected end of " + found[2].str();
    open.pop_back();
  }
  return open.size() > 1 ? "no end of " + open.back() : roots == 1 ? "" : "not one root";
}

} // namespace tnk::test
