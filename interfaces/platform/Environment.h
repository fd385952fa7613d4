#pragma once

#include <optional>
#include <string>

namespace Vexil::Interfaces {

// The environment of this process, as libraries that it loads and programs that it starts see it.

std::optional<std::string> GetVariable(const std::string& name);
/// An empty value removes the variable.
void SetVariable(const std::string& name, const std::string& value);

}  // namespace Vexil::Interfaces
