#pragma once

#include <string>

#include "Common/VendorLibrary.h"

namespace Vexil::Program {

/// What looking at a source from outside tells of why it had nothing to say.
struct Examination : LibraryInspection {
  std::string failed_call;  ///< And what it answered. Empty where none is known.
};

// Each looks at the source's library without the detector's help. A driver that gave records is not started again.

Examination ExamineOpenCL(bool has_records);
Examination ExamineCUDA(bool has_records);
Examination ExamineDirectX(bool has_records);
Examination ExamineAMDDL(bool has_records);
Examination ExamineNvAPI(bool has_records);
Examination ExamineNVML(bool has_records);
/// Of a source that makes no call that could fail as a whole.
Examination ExamineNothing(bool has_records);

}  // namespace Vexil::Program
