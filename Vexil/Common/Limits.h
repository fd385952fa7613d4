#pragma once

namespace Vexil {

/// No machine has as many devices, adapters, outputs, displays or links as this. Where a driver claims
/// more, or never says that there are no more, it is not believed.
constexpr unsigned kMaxItems = 1024;

}  // namespace Vexil
