#pragma once

#include "main/lib/base/cdata/HAData.h"

#include <memory>

using namespace ztlib;

// Returns a tree with an element of every kind in the order of their bits, then with null payloads.
inline CData RichTree() {
  CData data;
  data.Append("Enabled", CDataValue::OfBool(2));
  data.AddByte(Tok::Alpha, 200);
  data.AddShort(Tok::Dx, -2);
  data.AddInt(Tok::Bits, -3);
  data.AddLongLong(Tok::Count, -4);
  data.AddDouble(Tok::Factor, -1.5);
  data.AddString(Tok::Name, "ab");
  data.AddWideString(Tok::Text, u"\u20ac");
  data.AddByteArray(Tok::Data, {1, 255});
  data.AddShortArray(Tok::Coords, {-1, 2});
  data.AddGuid(Tok::ID, CGuid{{1, 2}});
  data.AddTime(Tok::EventTime, 5);
  auto binary = std::make_shared<CBinData>("..xyz", 5);
  binary->SetOffset(2);
  data.AddBinary(Tok::Motion, binary);
  CData& child = data.AddChild(Tok::Config);
  child.Append("own", CDataValue::OfInt(4));
  child.AddString(Tok::Empty, "");
  data.Append("", CDataValue::OfByteArray(nullptr));
  data.Append("", CDataValue::OfShortArray(nullptr));
  data.Append("", CDataValue::OfGuid(nullptr));
  data.AddBinary(0, nullptr);
  data.Append("", CDataValue::OfNode(nullptr));
  return data;
}
