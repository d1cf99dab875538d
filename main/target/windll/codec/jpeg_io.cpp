#include "main/target/windll/codec/jpeg_io.h"

#include "main/lib/base/debug.h"

#include <jerror.h>

namespace ztlib {

namespace {

[[noreturn]] void ErrorExit(j_common_ptr object) {
  jpeg_abort(object);
  DebugBreakHook();
  throw 1;
}

void EmitMessage(j_common_ptr object, int level) {
  if (level >= 0) return;
  jpeg_error_mgr& errors = *object->err;
  if (errors.num_warnings++ == 0) std::fprintf(stderr, "Bogus message code %d\n", errors.msg_code);
}

}  // namespace

void InitJpegErrors(jpeg_error_mgr& errors) {
  jpeg_std_error(&errors);
  errors.error_exit = ErrorExit;
  errors.emit_message = EmitMessage;
}

JpegSource::JpegSource() {
  manager.init_source = [](j_decompress_ptr) {};
  manager.term_source = [](j_decompress_ptr) {};
  manager.fill_input_buffer = [](j_decompress_ptr object) -> boolean {
    RaiseJpegError(*object, JERR_INPUT_EOF);
  };
  manager.skip_input_data = [](j_decompress_ptr object, auto count) {
    if (count <= 0) return;
    const auto step = static_cast<std::size_t>(count);
    if (step > object->src->bytes_in_buffer) RaiseJpegError(*object, JERR_INPUT_EOF);
    object->src->next_input_byte += step;
    object->src->bytes_in_buffer -= step;
  };
  manager.resync_to_restart = jpeg_resync_to_restart;
}

jpeg_source_mgr* JpegSource::Attach(std::span<const std::uint8_t> data) {
  manager.next_input_byte = data.data();
  manager.bytes_in_buffer = data.size();
  return &manager;
}

JpegDestination::JpegDestination() {
  manager.init_destination = [](j_compress_ptr) {};
  manager.term_destination = [](j_compress_ptr) {};
  manager.empty_output_buffer = [](j_compress_ptr object) -> boolean {
    RaiseJpegError(*object, JERR_BUFFER_SIZE);
  };
}

jpeg_destination_mgr* JpegDestination::Attach(std::span<std::uint8_t> room) {
  manager.next_output_byte = room.data();
  manager.free_in_buffer = room.size();
  return &manager;
}

}  // namespace ztlib
