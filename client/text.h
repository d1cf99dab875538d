#pragma once

#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>

// What went wrong, as the one line that the user reads.
class CError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

#if defined(__MINGW_PRINTF_FORMAT)
#define ZTCLIENT_PRINTF_LIKE __attribute__((format(__MINGW_PRINTF_FORMAT, 1, 2)))
#elif defined(__GNUC__)
#define ZTCLIENT_PRINTF_LIKE __attribute__((format(printf, 1, 2)))
#else
#define ZTCLIENT_PRINTF_LIKE
#endif

// printf into a string.
[[nodiscard]] std::string Text(const char* format, ...) ZTCLIENT_PRINTF_LIKE;
#undef ZTCLIENT_PRINTF_LIKE

// "15.9 kB"; decimal units.
[[nodiscard]] std::string ByteText(std::uint64_t bytes);

// "795 frames", "1 frame".
[[nodiscard]] std::string CountText(std::int64_t count, std::string_view noun);
