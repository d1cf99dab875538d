#pragma once

#include <cstdint>
#include <istream>
#include <streambuf>

namespace ztlib {

// Reads a block of memory, which must outlive the buffer, without copying it.
class basic_bindatastream : public std::streambuf {
 public:
  basic_bindatastream(const void* data, std::uint64_t size) {
    // A buffer has one kind of pointer for both directions; this one has no put area.
    char* const begin = const_cast<char*>(static_cast<const char*>(data));
    setg(begin, begin, begin + size);
  }
};

// An input stream on a block of memory.
class bindatastream : public std::istream {
 public:
  bindatastream(const void* data, std::uint64_t size) : std::istream(nullptr), buffer(data, size) {
    rdbuf(&buffer);
  }

 private:
  basic_bindatastream buffer;
};

}  // namespace ztlib
