// What routines print, or write into a log in the current folder.
#pragma once

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

namespace tnk::test {

// Runs in a folder of its own; returns what was printed, with "log:" and the content of each log behind.
template <class Run> std::string said(const Run &run) {
  namespace fs = std::filesystem;
  const auto before = fs::current_path();
  std::string folder = (fs::temp_directory_path() / "tnk_pde_XXXXXX").string();
  fs::current_path(mkdtemp(folder.data()));
  testing::internal::CaptureStdout();
  run();
  std::string text = testing::internal::GetCapturedStdout();
  for (const auto &file : fs::directory_iterator(folder))
    if (std::ifstream log(file.path()); file.is_regular_file())
      text += "log:" + std::string(std::istreambuf_iterator<char>(log), {});
  fs::current_path(before);
  fs::remove_all(folder);
  return text;
}

} // namespace tnk::test
