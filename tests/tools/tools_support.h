// What the tests of the program share.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <vector>

#include "tools/tnk/support/failure.h"
#include "tools/tnk/support/files.h"

namespace tnk::test {

inline int count(const std::string &text, const std::string &what) {
  int found = 0;
  for (auto at = text.find(what); at != text.npos; at = text.find(what, at + 1)) ++found;
  return found;
}
inline bool holds(const std::string &text, const std::string &part) {
  return text.find(part) != std::string::npos;
}

// What is said when this fails.
template <class F> std::string failure_of(F f) {
  try {
    f();
  } catch (const tool::Failure &failure) {
    return failure.what();
  }
  return "no failure";
}

using tool::TemporaryFolder;

struct Outcome {
  int code;
  std::string out, err;
};

// Runs the program tnk. `settings` go in front of the command, as "NAME=value"; `tail` behind it.
inline Outcome run(const std::string &arguments, const std::string &settings = "",
                   const std::string &tail = "", const std::string &program = TNK_TEST_PROGRAM) {
  const TemporaryFolder folder;
  const auto out = folder.path() / "out", err = folder.path() / "err";
  const std::string command = "env -u TNK_KERNEL_PATH " + settings + " '" + program + "' " + arguments +
                              " >'" + out.string() + "' 2>'" + err.string() + "' </dev/null " + tail;
  const int status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, tool::read_file(out), tool::read_file(err)};
}

inline std::string quoted(const std::filesystem::path &path) {
  return "'" + path.string() + "'";
}

// What keeps a text from being an XML document in which every element ends; "" when nothing does.
inline std::string xml_fault(const std::string &text) {
  if (text.rfind("<?xml", 0) != 0) return "no XML declaration";
  std::vector<std::string> open;
  bool had_root = false;
  for (std::size_t at = text.find("?>"); (at = text.find('<', at)) != std::string::npos;) {
    const std::size_t end = text.find('>', at);
    if (end == std::string::npos) return "a tag does not end";
    const std::string tag = text.substr(at + 1, end - at - 1);
    if (tag.find('<') != std::string::npos) return "a tag inside a tag: " + tag;
    const std::string name = tag.substr(tag[0] == '/', tag.find_first_of(" /\n", 1) - (tag[0] == '/'));
    if (open.empty() && had_root) return "a second root";
    if (tag[0] == '/') {
      if (open.empty() || open.back() != name) return "unexpected end of " + name;
      open.pop_back();
    } else if (tag.back() != '/') {
      open.push_back(name);
    }
    had_root = true;
    at = end;
  }
  return open.empty() ? (had_root ? "" : "no element") : "no end of " + open.back();
}

} // namespace tnk::test
