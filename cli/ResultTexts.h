#pragma once

#include "Vexil/FlatBuffers/DetectionResult_generated.h"

namespace Vexil::Cli {

/// Makes every text UTF-8 that is in this code page. True where that changed any.
bool ConvertTexts(FlatBuffers::DetectionResultT& records, unsigned code_page);

/// Takes out what tells one machine from others like it: its identifier, and those of its monitors and registry keys.
void Anonymize(FlatBuffers::DetectionResultT& records);

}  // namespace Vexil::Cli
