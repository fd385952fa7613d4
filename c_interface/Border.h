#pragma once

#include <exception>
#include <new>
#include <string>
#include <utility>

#include "c_interface/vexil_c.h"

namespace Vexil::C {

/// What ends a function of the interface with this status.
struct Failure {
  vexil_status status;
  std::string text;
};

/// What vexil_last_error tells this thread.
void SetError(const char* text) noexcept;
const char* LastError() noexcept;

/// Throws where an argument is null.
template <typename Pointer>
void Require(const Pointer* argument, const char* name) {
  if (argument == nullptr) throw Failure{VEXIL_INVALID_ARGUMENT, std::string(name) + " is null"};
}

/// The border that no exception crosses.
template <typename Work>
vexil_status Guarded(const Work& work) noexcept {
  const auto fail = [](vexil_status status, const char* text) {
    SetError(text);
    return status;
  };
  try {
    SetError("");
    work();
    return VEXIL_OK;
  } catch (const Failure& failure) {
    return fail(failure.status, failure.text.c_str());
  } catch (const std::bad_alloc&) {
    return fail(VEXIL_OUT_OF_MEMORY, "out of memory");
  } catch (const std::exception& error) {
    return fail(VEXIL_FAILED, error.what());
  } catch (...) {
    return fail(VEXIL_FAILED, "an exception of an unknown type");
  }
}

}  // namespace Vexil::C
