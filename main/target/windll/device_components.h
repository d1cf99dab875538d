#pragma once

namespace ztlib {

// Registers the services of the camera build that the shared base classes name. They do nothing
// here, but they belong to the set of components that clients see counted at teardown.
void RegisterDeviceComponents();

}  // namespace ztlib
