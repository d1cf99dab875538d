#pragma once

#include "main/lib/base/byte_io.h"
#include "main/lib/base/cdata/bin_data.h"
#include "main/lib/base/cdata/token_table.h"

#include <cstdint>

namespace ztlib {

class CData;

// The tagged form, in which a tree crosses the library's boundary. A size of 4 GiB or more throws
// std::length_error.
[[nodiscard]] std::uint32_t TaggedSize(const CData& data);
[[nodiscard]] std::uint32_t CheckTaggedSize(std::uint64_t size);
// `out` has room for TaggedSize bytes. Gives the pointer behind the last byte written. At an empty
// value it stops with a complete form of what stands before, and gives null.
std::uint8_t* WriteTagged(const CData& data, std::uint8_t* out);
// Measured, allocated once and written; zeros behind a form that had to stop early.
[[nodiscard]] CBinData ToTagged(const CData& data);

// For results that are written without a tree. BeginTagged writes the head of an element, behind
// which the value follows as the form has it, and gives the place of its size, which EndTagged
// fills in.
[[nodiscard]] std::uint8_t* BeginTagged(ByteWriter& out, Token name, std::uint16_t kind);
void EndTagged(const ByteWriter& out, std::uint8_t* size);
template <WireNumber T>
void WriteTaggedNumber(ByteWriter& out, Token name, std::uint16_t kind, T value) {
  std::uint8_t* const size = BeginTagged(out, name, kind);
  out.Write(value);
  EndTagged(out, size);
}
// The elements of a node and its end; false at an empty value, before which it stops.
bool WriteTagged(const CData& data, ByteWriter& out);

// Of a list whose user looks at its first nodes only.
struct CDataListLimit {
  Token list;
  std::uint64_t mostNodes;  // at least 1
};
// Clears the target, reads as far as the bytes make sense, keeps that, and is always true. Elements
// of the root whose kind is in the mask are passed over; children of the root with the limit's name
// end behind their last allowed node, and what follows in them costs nothing.
bool ParseTagged(CData& data, const void* bytes, std::uint64_t size, std::uint16_t skipMask = 0,
                 const CDataListLimit* limit = nullptr);

}  // namespace ztlib
