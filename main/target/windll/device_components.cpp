#include "main/target/windll/device_components.h"

#include "main/lib/base/component_repository.h"
#include "main/lib/calib/calibration.h"
#include "main/lib/imgproc/timestamper.h"

namespace ztlib {

namespace {

class CEventServer : public IComponent {};
class IProductTypeHandler : public IComponent {};
class CProductTypeHandler : public IProductTypeHandler {};
class CTinker : public IComponent {};
class CUserManager : public IComponent {};

}  // namespace

void RegisterDeviceComponents() {
  CComponentRepository& repository = CComponentRepository::Instance();
  repository.Register<CEventServer, CEventServer>("CEventServer");
  repository.Register<IProductTypeHandler, CProductTypeHandler>("CProductTypeHandler");
  RegisterTimestamper();
  repository.Register<CTinker, CTinker>("CTinker");
  repository.Register<CUserManager, CUserManager>("CUserManager");
  RegisterCalibration();
}

}  // namespace ztlib
