#include "main/lib/base/cdata/HAData.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

using namespace ztlib;

namespace {

using nlohmann::json;

// Returns a tree like the configuration of an encoder.
CData SmallTree() {
  CData tree;
  tree.AddInt(Tok::PixelFormat, 3);
  tree.AddInt(Tok::ScaleDown, 2);
  tree.AddInt(Tok::Quality, 80);
  tree.AddBool(Tok::Enabled, true);
  tree.AddDouble(Tok::Sensitivity, 0.75);
  tree.AddString(Tok::Name, "north gate");
  CData& config = tree.AddChild(Tok::Config);
  config.AddInt(Tok::Bits, 4);
  config.AddInt(Tok::RPFrameInterval, 25);
  config.AddLongLong(Tok::ViolationTimeMs, 1500);
  return tree;
}

// Returns a tree like the result of many detectors: hundreds of records with polygons, names, times
// and bitmaps.
CData BigTree() {
  CData tree;
  for (std::int16_t i = 0; i < 300; ++i) {
    CData& detector = tree.AddChild(i % 2 != 0 ? Tok::Detectors : Tok::Figures);
    detector.AddString(Tok::DetectorName, "detector number " + std::to_string(i));
    detector.AddInt(Tok::DetectorID, i);
    detector.AddTime(Tok::EventTime, 13'000'000'000'000 + i);
    detector.AddDouble(Tok::Sensitivity, i / 300.0);
    detector.AddBool(Tok::Enabled, i % 3 == 0);
    detector.Append("local name", CDataValue::OfInt(i));
    std::vector<std::int16_t> polygon;
    for (std::int16_t corner = 0; corner < 24; ++corner)
      polygon.push_back(static_cast<std::int16_t>(i * corner * 7));
    detector.AddShortArray(Tok::Coords, polygon);
    const std::vector<std::uint8_t> bitmap(2048, static_cast<std::uint8_t>(i));
    detector.AddBinary(Tok::Motion, std::make_shared<CBinData>(bitmap.data(), bitmap.size()));
  }
  return tree;
}

json JsonOf(const CDataValue& value);

// Makes an object if the names are unique, as in a record, otherwise an array of records.
json JsonOf(const CData& node) {
  json object = json::object();
  json array = json::array();
  for (const CDataElement& element : node.Elements()) {
    json value = JsonOf(element.value);
    array.push_back(value);
    object[std::string(node.KeyText(element.key))] = std::move(value);
  }
  return object.size() == node.Count() ? object : array;
}

json JsonOf(const CDataValue& value) {
  switch (value.GetKind()) {
    case cdBool:
      return value.GetBool();
    case cdInt:
      return value.GetInt();
    case cdLongLong:
      return value.GetLongLong();
    case cdTime:
      return value.GetTime();
    case cdDouble:
      return value.GetDouble();
    case cdString:
      return value.GetString();
    case cdShortArray:
      return *value.GetShortArray();
    case cdBinary: {
      const CBinData& binary = *value.GetBinary();
      return json::binary({binary.Data(), binary.Data() + binary.Size()});
    }
    default:
      return JsonOf(*value.GetNode());
  }
}

void ParseTree(benchmark::State& state, CData (*make)()) {
  const CBinData bytes = ToTagged(make());
  for (auto _ : state) {
    CData tree;
    ParseTagged(tree, bytes.Data(), bytes.Size());
    benchmark::DoNotOptimize(tree);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.Size()));
}

void ParseJson(benchmark::State& state, CData (*make)()) {
  const std::vector<std::uint8_t> bytes = json::to_cbor(JsonOf(make()));
  for (auto _ : state) {
    json tree = json::from_cbor(bytes);
    benchmark::DoNotOptimize(tree);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

void WriteTree(benchmark::State& state, CData (*make)()) {
  const CData tree = make();
  std::size_t size = 0;
  for (auto _ : state) {
    CBinData bytes = ToTagged(tree);
    size = bytes.Size();
    benchmark::DoNotOptimize(bytes);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
}

void WriteJson(benchmark::State& state, CData (*make)()) {
  const json tree = JsonOf(make());
  std::size_t size = 0;
  for (auto _ : state) {
    std::vector<std::uint8_t> bytes = json::to_cbor(tree);
    size = bytes.size();
    benchmark::DoNotOptimize(bytes);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
}

BENCHMARK_CAPTURE(ParseTree, ztlib, SmallTree)->Name("tagged_parse/small/ztlib");
BENCHMARK_CAPTURE(ParseJson, nlohmann, SmallTree)->Name("tagged_parse/small/nlohmann_cbor");
BENCHMARK_CAPTURE(ParseTree, ztlib, BigTree)->Name("tagged_parse/big/ztlib");
BENCHMARK_CAPTURE(ParseJson, nlohmann, BigTree)->Name("tagged_parse/big/nlohmann_cbor");
BENCHMARK_CAPTURE(WriteTree, ztlib, SmallTree)->Name("tagged_write/small/ztlib");
BENCHMARK_CAPTURE(WriteJson, nlohmann, SmallTree)->Name("tagged_write/small/nlohmann_cbor");
BENCHMARK_CAPTURE(WriteTree, ztlib, BigTree)->Name("tagged_write/big/ztlib");
BENCHMARK_CAPTURE(WriteJson, nlohmann, BigTree)->Name("tagged_write/big/nlohmann_cbor");

}  // namespace
