#pragma once

#include "main/lib/base/cdata/HAData.h"
#include "main/lib/base/fairy/fairy_container.h"
#include "main/lib/imgproc/image_cache.h"

#include <cstdint>
#include <string>

namespace ztlib {

class AAlarmDetectorBase;

// How an operation of an analysis or a detector ended.
struct CResultRecord {
  std::int32_t code = 0;  // 0 success, 4 failure
  std::string text;
  std::string message;
  [[nodiscard]] bool Succeeded() const { return code == 0; }
};

inline constexpr std::int32_t resultFailure = 4;

// Appends the record's values to the first child of that name, which is made if there is none.
void ExportRecord(const ACDataFairy& record, CData& tree, Token key);

// The configuration of an analysis, whichever it is.
class AVCABaseConfiguration : public CDataFairy<AVCABaseConfiguration> {};

// An analysis without settings of its own here.
class CTrackerConfiguration : public CDataFairy<CTrackerConfiguration> {
 public:
  using CDataFairy::CDataFairy;
};

// An analysis of frames: it keeps its configuration and processes nothing before it has a good one.
// The owner serialises all calls.
class AVCABase {
 public:
  // Stores the pointers only; their objects outlive this one.
  AVCABase(AAlarmDetectorBase* owner, CImageDataCache* imageCache,
           ACDataFairy* configurationRecord);
  virtual ~AVCABase();
  AVCABase(const AVCABase&) = delete;
  AVCABase& operator=(const AVCABase&) = delete;

  // What a derived class does with a new configuration.
  virtual CResultRecord VirtualConfigure();
  // Analyses the frame in the image cache. Overriding operations begin with this one, which fails
  // unless there is a configuration.
  virtual CResultRecord Process(CData& output);
  [[nodiscard]] virtual bool IsEnabled() const;
  [[nodiscard]] virtual CData GetStatusData() const;

  // Applies a tree. After a failure the analysis counts as not configured.
  CResultRecord Configure(const CData& tree);
  // Adds the present configuration to the child of that name.
  void ExportConfiguration(CData& tree, Token key) const;
  [[nodiscard]] bool IsConfigured() const { return state != notConfigured; }
  // The state: 1 is not configured, 2 is configured; derived classes have more.
  [[nodiscard]] std::int32_t GetState() const { return state; }
  // The last tree that was applied, well or not.
  [[nodiscard]] const CData& GetConfigurationCopy() const { return configurationCopy; }

 protected:
  static constexpr std::int32_t notConfigured = 1;
  static constexpr std::int32_t isConfigured = 2;

  std::int32_t state = notConfigured;
  AAlarmDetectorBase* const owner;
  CImageDataCache* const imageCache;

 private:
  CData configurationCopy;
  ACDataFairy* const configurationRecord;
};

}  // namespace ztlib
