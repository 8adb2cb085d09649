#pragma once

#include "core/service/device_flow.hpp"

namespace kestu {

struct Context;
struct GlobalOptions;

/// The code and the link of a sign-in that is to be approved, where there is room its QR code, and until when.
void showStart(Context& context, const GlobalOptions& options, const DeviceStart& start);

} // namespace kestu
