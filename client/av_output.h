#pragma once

#include "client/av.h"
#include "client/output_file.h"

#include <exception>
#include <map>
#include <memory>
#include <string>

// Gives a container of libav the outputs of a command to write to. A container that makes files by
// itself, such as a series of pictures, opens them here too; each takes its place when it is
// closed. Addresses that are no files stay with libav. It outlives the container.
class CAvOutput {
 public:
  explicit CAvOutput(COutputs& commandOutputs) : outputs(commandOutputs) {}
  ~CAvOutput();
  CAvOutput(const CAvOutput&) = delete;
  CAvOutput& operator=(const CAvOutput&) = delete;

  // `unfinished` goes for a container that is one file.
  void Open(AVFormatContext& container, const std::string& path, EUnfinished unfinished);
  // As AvCheck, but with the reason for which a file could not be written.
  void Check(int result, const std::string& what) const;
  // The container is complete.
  void Close(AVFormatContext& container, const std::string& path);

 private:
  struct CFile {
    CAvOutput& owner;
    std::shared_ptr<COutputFile> output;
  };
  static int Write(void* file, std::uint8_t* bytes, int size);
  static std::int64_t Seek(void* file, std::int64_t offset, int whence);
  static int OpenAnother(AVFormatContext* container, AVIOContext** io, const char* url, int flags,
                         AVDictionary** options);
  static int CloseAnother(AVFormatContext* container, AVIOContext* io);

  // Runs what may throw within a call of libav, which knows no exceptions.
  template <class Work>
  auto Guard(Work&& work) -> decltype(work());
  [[nodiscard]] AVIOContext* OpenIo(const std::string& path, EUnfinished unfinished);
  int CloseIo(AVIOContext* io);

  COutputs& outputs;
  std::map<AVIOContext*, CFile> files;
  AVIOContext* address = nullptr;  // of the container, where that is no file
  std::exception_ptr failure;
  decltype(AVFormatContext::io_open) openOther = nullptr;
  decltype(AVFormatContext::io_close2) closeOther = nullptr;
};
