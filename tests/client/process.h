#pragma once

#include <filesystem>
#include <string>
#include <vector>

// A program that runs beside the test, without an input.
class CProcess {
 public:
  // The words are UTF-8. What it prints goes to two files.
  CProcess(const std::filesystem::path& program, const std::vector<std::string>& words,
           const std::filesystem::path& output, const std::filesystem::path& errors);
  // Ends it if it still runs.
  ~CProcess();
  CProcess(const CProcess&) = delete;
  CProcess& operator=(const CProcess&) = delete;

  // Its exit status, -1 if it crashed.
  int Wait();
#if !defined(_WIN32)
  void Signal(int signal) const;
#endif

 private:
#if defined(_WIN32)
  void* process = nullptr;
#else
  int process = 0;
#endif
};
