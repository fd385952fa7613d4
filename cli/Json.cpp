#include "cli/Json.h"

#include <flatbuffers/minireflect.h>
#include <fmt/format.h>

#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace Vexil::Cli {
namespace {

/// Makes JSON of what it is shown of a buffer.
class JsonVisitor final : public flatbuffers::IterationVisitor {
 public:
  Json Result() { return std::move(m_open.front()); }

  void StartSequence() override { Open(Json::object()); }
  void EndSequence() override { Close(); }
  void StartVector() override { Open(Json::array()); }
  void EndVector() override { Close(); }

  void Field(size_t /*field*/, size_t /*set*/, flatbuffers::ElementaryType type, bool is_vector,
             const flatbuffers::TypeTable* table, const char* name, const std::uint8_t* value) override {
    m_fields.back() = name;
    if (value != nullptr) return;
    // Packing leaves out what is unknown, but also empty lists, "false" and the first name of an enumeration.
    if (is_vector) {
      Put(Json::array());
    } else if (type == flatbuffers::ET_BOOL) {
      Put(false);
    } else if (type == flatbuffers::ET_UCHAR && table != nullptr) {
      Put(table->names[0]);
    }
  }

  // The types that the schema uses.
  void Bool(bool value) override { Put(value); }
  void UChar(std::uint8_t value, const char* name) override { name != nullptr ? Put(name) : Put(value); }
  void Int(std::int32_t value, const char* /*name*/) override { Put(value); }
  void ULong(std::uint64_t value) override { Put(value); }
  void String(const flatbuffers::String* value) override { Put(value->str()); }

 private:
  void Put(Json value) {
    Json& open = m_open.back();
    if (open.is_array()) {
      open.push_back(std::move(value));
    } else if (open.is_object()) {
      open[m_fields.back()] = std::move(value);
    } else {
      open = std::move(value);
    }
  }

  void Open(Json empty) {
    m_open.push_back(std::move(empty));
    m_fields.push_back(nullptr);
  }

  void Close() {
    Json value = std::move(m_open.back());
    m_open.pop_back();
    m_fields.pop_back();
    Put(std::move(value));
  }

  // The objects and lists that are not complete yet, the outermost first, and the field that each is at. The first one
  // becomes the result.
  std::vector<Json> m_open = std::vector<Json>(1);
  std::vector<const char*> m_fields = std::vector<const char*>(1);
};

/// JSON lets control characters stand that terminals obey: DEL, and the second set, here as UTF-8.
std::string EscapeLateControls(const std::string& text) {
  std::string escaped;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto next = static_cast<unsigned char>(i + 1 < text.size() ? text[i + 1] : 0);
    const bool is_c1 = text[i] == '\xC2' && next < 0xA0;
    if (is_c1) {
      escaped += fmt::format("\\u{:04x}", next);
      ++i;
    } else {
      text[i] == '\x7F' ? escaped += "\\u007f" : escaped += text[i];
    }
  }
  return escaped;
}

}  // namespace

Json Document(const char* command) {
  constexpr int kContractVersion = 1;
  return {{"json_version", kContractVersion}, {"command", command}};
}

Json TableToJson(const std::uint8_t* buffer, const flatbuffers::TypeTable* type) {
  JsonVisitor visitor;
  flatbuffers::IterateFlatBuffer(buffer, type, &visitor);
  return visitor.Result();
}

void PrintJson(std::ostream& out, const Json& json, JsonLayout layout) {
  const int indent = layout == JsonLayout::Indented ? 2 : -1;
  out << EscapeLateControls(json.dump(indent, ' ', false, Json::error_handler_t::replace)) << '\n';
}

}  // namespace Vexil::Cli
