#include "cli/ResultJson.h"

namespace Vexil::Cli {

Json ResultToJson(const FlatBuffers::DetectionResultT& records) {
  // The schema's defaults are not written, and a version is worth knowing.
  Json json = Document("report");
  json["version"] = records.version;
  json.update(ToJson(records));
  return json;
}

}  // namespace Vexil::Cli
