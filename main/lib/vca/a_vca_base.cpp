#include "main/lib/vca/a_vca_base.h"

#include <utility>

namespace ztlib {

void ExportRecord(const ACDataFairy& record, CData& tree, Token key) {
  CDataValue* const present = tree.Find(key, cdNode);
  CData* const found = present ? present->GetNode() : nullptr;
  CData& node = found ? *found : tree.AddChild(key);
  CData values = record.ToCData({});
  for (std::uint64_t i = 0; i < values.Count(); ++i) {
    CDataElement& element = values.At(i);
    node.Append(values.KeyText(element.key), std::move(element.value));
  }
}

AVCABase::AVCABase(AAlarmDetectorBase* owner, CImageDataCache* imageCache,
                   ACDataFairy* configurationRecord)
    : owner(owner), imageCache(imageCache), configurationRecord(configurationRecord) {}

AVCABase::~AVCABase() = default;

CResultRecord AVCABase::VirtualConfigure() {
  return {};
}

CResultRecord AVCABase::Process(CData&) {
  if (!IsConfigured()) return {resultFailure, "", "Detector has not configured!"};
  return {};
}

bool AVCABase::IsEnabled() const {
  return true;
}

CData AVCABase::GetStatusData() const {
  return {};
}

CResultRecord AVCABase::Configure(const CData& tree) {
  configurationCopy = tree;
  configurationRecord->FromCData(tree);
  CResultRecord result = VirtualConfigure();
  state = result.Succeeded() ? isConfigured : notConfigured;
  return result;
}

void AVCABase::ExportConfiguration(CData& tree, Token key) const {
  ExportRecord(*configurationRecord, tree, key);
}

}  // namespace ztlib
