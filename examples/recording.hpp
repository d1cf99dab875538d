#pragma once

#include <fstream>
#include <stdexcept>
#include <string>

#include <ztlib.hpp>

// Reads the frames of a .zts file, which follow each other; each tells its size at offset 4.
class Recording {
 public:
  explicit Recording(const std::string& path) : name(path), file(path, std::ios::binary) {
    if (!file) throw std::runtime_error(name + ": cannot open");
  }

  // False at the end.
  bool Next(ztlib::Bytes& frame) {
    frame.resize(64);  // no frame is shorter
    if (!file.read(reinterpret_cast<char*>(frame.data()), 64)) return false;
    const std::uint64_t size = ztlib::LittleEndian(ztlib::ByteView(frame).Sub(4, 4));
    if (size < 64 || size > std::uint64_t{1} << 28) throw std::runtime_error(name + ": damaged");
    frame.resize(static_cast<std::size_t>(size));
    if (!file.read(reinterpret_cast<char*>(frame.data()) + 64,
                   static_cast<std::streamsize>(size) - 64))
      throw std::runtime_error(name + ": cut");
    return true;
  }

 private:
  std::string name;
  std::ifstream file;
};
