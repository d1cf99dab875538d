#pragma once

#include <cstdio>
#include <string>

// The client's standard output. It is split off from the process's `stdout`, to which the library
// may print at any time: a video stream or a JSON text must not be mixed with that.
[[nodiscard]] std::FILE* Output();

// Moves `stdout` out of the way; called once, before the library is used.
void SplitOutput();

// Writes or throws; a full disk or a closed pipe must not pass for success.
void Print(std::FILE* file, const std::string& text);
void Flush(std::FILE* file);

// What the running program is called in messages; set before any.
void SetProgramName(const char* name);
[[nodiscard]] const char* ProgramName();

// Whether the user wants to see more than results: each picture, and the library's own words.
void SetVerbose(bool isVerbose);
[[nodiscard]] bool IsVerbose();

// One line on standard error: "<program>: <text>". Any thread may call it, and ShowStatus.
void Complain(const std::string& text);

// A line at the bottom of the terminal behind standard error, in place of the one before. Whatever
// else the program prints wipes it.
void ShowStatus(const std::string& line);
void WipeStatus();
