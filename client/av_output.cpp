#include "client/av_output.h"

#include <cstdio>
#include <new>
#include <string_view>

extern "C" {
#include <libavutil/avstring.h>
}

namespace {

bool IsFile(const char* url) {
  const char* const protocol = avio_find_protocol_name(url);
  return !protocol || std::string_view(protocol) == "file";
}

void Free(AVIOContext* io) {
  av_freep(&io->buffer);
  avio_context_free(&io);
}

}  // namespace

CAvOutput::~CAvOutput() {
  // What a recording has up to now shall be in its file.
  for (const auto& [io, file] : files) {
    avio_flush(io);
    Free(io);
  }
  avio_closep(&address);
}

template <class Work>
auto CAvOutput::Guard(Work&& work) -> decltype(work()) {
  try {
    return work();
  } catch (...) {
    if (!failure) failure = std::current_exception();
    return AVERROR(EIO);
  }
}

int CAvOutput::Write(void* file, std::uint8_t* bytes, int size) {
  auto& [owner, output] = *static_cast<CFile*>(file);
  return owner.Guard([&, &output = output] {
    output->Write(std::span(bytes, static_cast<std::size_t>(size)));
    return size;
  });
}

std::int64_t CAvOutput::Seek(void* file, std::int64_t offset, int whence) {
  auto& [owner, output] = *static_cast<CFile*>(file);
  if (whence != SEEK_SET && whence != SEEK_CUR && whence != SEEK_END) return AVERROR(ENOSYS);
  return owner.Guard([&, &output = output] { return output->Seek(offset, whence); });
}

AVIOContext* CAvOutput::OpenIo(const std::string& path, EUnfinished unfinished) {
  constexpr int bufferSize = 1 << 16;
  CFile file{*this, outputs.Open(path, unfinished)};
  auto* buffer = static_cast<unsigned char*>(av_malloc(bufferSize));
  if (!buffer) throw std::bad_alloc();
  const bool isSeekable = file.output->IsSeekable();
  AVIOContext* io = avio_alloc_context(buffer, bufferSize, 1, nullptr, nullptr, Write,
                                       isSeekable ? Seek : nullptr);
  if (!io) {
    av_free(buffer);
    throw std::bad_alloc();
  }
  io->opaque = &files.emplace(io, std::move(file)).first->second;
  return io;
}

int CAvOutput::CloseIo(AVIOContext* io) {
  const auto found = files.find(io);
  const std::shared_ptr<COutputFile> output = found->second.output;
  avio_flush(io);
  const int error = io->error;
  Free(io);
  files.erase(found);
  return error < 0 ? error : Guard([&] {
    output->Close();
    return 0;
  });
}

int CAvOutput::OpenAnother(AVFormatContext* container, AVIOContext** io, const char* url, int flags,
                           AVDictionary** options) {
  auto& owner = *static_cast<CAvOutput*>(container->opaque);
  if (!(flags & AVIO_FLAG_WRITE) || !IsFile(url))
    return owner.openOther(container, io, url, flags, options);
  return owner.Guard([&] {
    *io = owner.OpenIo(url, EUnfinished::dropped);
    return 0;
  });
}

int CAvOutput::CloseAnother(AVFormatContext* container, AVIOContext* io) {
  auto& owner = *static_cast<CAvOutput*>(container->opaque);
  if (!owner.files.contains(io)) return owner.closeOther(container, io);
  const int result = owner.CloseIo(io);
  return result < 0 ? result : owner.Guard([&] {
    owner.outputs.Publish();
    return 0;
  });
}

void CAvOutput::Open(AVFormatContext& container, const std::string& path, EUnfinished unfinished) {
  openOther = container.io_open;
  closeOther = container.io_close2;
  container.opaque = this;
  container.io_open = OpenAnother;
  container.io_close = nullptr;
  container.io_close2 = CloseAnother;
  if (container.oformat->flags & AVFMT_NOFILE) return;
  const char* name = path.c_str();
  if (IsFile(name)) {
    av_strstart(name, "file:", &name);
    container.pb = OpenIo(name, unfinished);
    return;
  }
  AvCheck(avio_open(&address, name, AVIO_FLAG_WRITE), path + ": cannot write");
  container.pb = address;
}

void CAvOutput::Check(int result, const std::string& what) const {
  if (result < 0 && failure) std::rethrow_exception(failure);
  AvCheck(result, what);
}

void CAvOutput::Close(AVFormatContext& container, const std::string& path) {
  if (!container.pb) return;
  container.pb = nullptr;
  Check(address ? avio_closep(&address) : CloseIo(files.begin()->first), path + ": cannot write");
}
