#include "servers/config/config_xml.h"

#include <pugixml.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <limits>

#include "foundation/date.h"
#include "foundation/text.h"
#include "foundation/vb_error.h"
#include "servers/common/file_trouble.h"
#include "servers/common/iso_time.h"
#include "servers/config/atomic_file.h"

namespace vellix {

namespace {

constexpr unsigned kParseFlags = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol |
                                 pugi::parse_wconv_attribute | pugi::parse_ws_pcdata_single |
                                 pugi::parse_doctype;

bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::string_view TrimBlanks(std::string_view s) {
  while (!s.empty() && IsBlank(s.front()))
    s.remove_prefix(1);
  while (!s.empty() && IsBlank(s.back()))
    s.remove_suffix(1);
  return s;
}

template <class T>
bool ParseNumber(std::string_view s, T* out) {
  auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), *out);
  return ec == std::errc() && end == s.data() + s.size() && !s.empty();
}

template <class T>
void AppendNumber(std::string& out, T value) {
  char buffer[64];
  auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
  out.append(buffer, ec == std::errc() ? end : buffer);
}

void AppendDate(std::string& out, Date d) {
  const CivilTime c = ToCivil(d);
  bool exact = false;
  if (c.year >= 100 && c.year <= 9999) {
    try {
      exact = DateTimeSerial(c.year, c.month, c.day, c.hour, c.minute, c.second) == d;
    } catch (const VbError&) {
      exact = false;
    }
  }
  if (exact) {
    out += servers::IsoDateOrDateTime(d);
  } else {
    AppendNumber(out, d.Serial());
  }
}

// Which characters need a reference, in element text and in attribute
// values: the markup ones, and control characters, so that a carriage return
// or a tab survives the parser's line-end and attribute normalisation.
struct EscapeTable {
  std::array<bool, 256> text{};
  std::array<bool, 256> attribute{};
  constexpr EscapeTable() {
    for (int c = 0; c < 0x20; ++c) {
      attribute[c] = true;
      text[c] = c != '\n' && c != '\t';
    }
    for (const unsigned char c : {'&', '<', '>'})
      text[c] = attribute[c] = true;
    attribute['"'] = true;
  }
};
constexpr EscapeTable kEscapes;

void AppendEscaped(std::string& out, std::string_view s, bool attribute) {
  // Runs of plain characters go in whole, found by a table through plain
  // pointers (no checked indexing): a first start writes the whole tree.
  const bool* escaped = attribute ? kEscapes.attribute.data() : kEscapes.text.data();
  const char* run = s.data();
  const char* const end = run + s.size();
  for (const char* p = run; p != end; ++p) {
    const auto c = static_cast<unsigned char>(*p);
    if (!escaped[c]) continue;  // NOLINT(cppcoreguidelines-pro-bounds-pointer-arithmetic)
    out.append(run, p);
    run = p + 1;
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += "&#";
        AppendNumber(out, static_cast<int>(c));
        out += ';';
    }
  }
  out.append(run, end);
}

void WriteNode(std::string& out, const ConfigTreeNode& node, int level) {
  out.append(static_cast<std::size_t>(level) * 2, ' ');
  out += "<node key=\"";
  AppendEscaped(out, node.KeyText(), true);
  out += "\" type=\"";
  out += ContentKindName(node.Kind());
  out += '"';
  if (node.Kind() == ContentKind::Collection) {
    if (node.Children().empty()) {
      out += "/>\n";
      return;
    }
    out += ">\n";
    for (const auto& child : node.Children())
      WriteNode(out, *child, level + 1);
    out.append(static_cast<std::size_t>(level) * 2, ' ');
    out += "</node>\n";
    return;
  }
  out += '>';
  AppendEscaped(out, ContentText(node.Content(), node.Kind()), false);
  out += "</node>\n";
}

// State of one parse: the source for line numbers and the node budget.
struct Reader {
  std::string_view source;
  std::size_t nodes = 0;
  std::string error;

  bool Fail(const pugi::xml_node& at, const std::string& what) {
    // The parser marks an element by its name; the user looks for its '<'.
    const std::ptrdiff_t name = at.type() == pugi::node_element ? 1 : 0;
    const auto offset =
        static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, at.offset_debug() - name));
    error = what + " (" + servers::LineAndColumn(source, offset) + ")";
    return false;
  }

  // The children of a <config> or Collection element into parent.
  bool ReadChildren(const pugi::xml_node& element, int depthLeft, ConfigTreeNode& parent) {
    for (const pugi::xml_node& child : element.children()) {
      if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
        if (!TrimBlanks(child.value()).empty()) {
          return Fail(child, "Text outside a value node");
        }
        continue;
      }
      if (child.type() != pugi::node_element) continue;
      if (std::string_view(child.name()) != "node") {
        return Fail(child, "Unexpected element <" + std::string(child.name()) + ">");
      }
      if (depthLeft < 1) return Fail(child, "Nodes nested too deeply");
      if (++nodes > kMaxConfigNodes) return Fail(child, "More nodes than the limit");
      if (!ReadNode(child, depthLeft, parent)) return false;
    }
    return true;
  }

  bool ReadNode(const pugi::xml_node& element, int depthLeft, ConfigTreeNode& parent) {
    pugi::xml_attribute keyAttr, typeAttr;
    for (const pugi::xml_attribute& a : element.attributes()) {
      const std::string_view name = a.name();
      if (name == "key") {
        keyAttr = a;
      } else if (name == "type") {
        typeAttr = a;
      } else {
        return Fail(element, "Unexpected attribute \"" + std::string(name) + "\"");
      }
    }
    std::string key = keyAttr.value();
    if (key.empty()) return Fail(element, "A node without a key");
    if (key.find('.') != std::string::npos) {
      return Fail(element, "The key \"" + key + "\" holds a '.', the path separator");
    }
    const bool hasElements = static_cast<bool>(
        element.find_child([](const pugi::xml_node& n) { return n.type() == pugi::node_element; }));
    ContentKind kind = hasElements ? ContentKind::Collection : ContentKind::String;
    if (typeAttr) {
      auto parsed = ParseContentKind(typeAttr.value());
      if (!parsed) return Fail(element, "Unknown type \"" + std::string(typeAttr.value()) + "\"");
      kind = *parsed;
    }

    std::shared_ptr<ConfigTreeNode> node;
    if (kind == ContentKind::Collection) {
      node = std::make_shared<ConfigTreeNode>(std::move(key), kind, Variant());
      if (!ReadChildren(element, depthLeft - 1, *node)) return false;
    } else {
      if (hasElements)
        return Fail(element, "The " + std::string(ContentKindName(kind)) + " node \"" + key +
                                 "\" holds nodes");
      // Most values are one run of text; only comments or CDATA split them.
      std::string joined;
      std::string_view text;
      int parts = 0;
      for (const pugi::xml_node& part : element.children()) {
        if (part.type() != pugi::node_pcdata && part.type() != pugi::node_cdata) continue;
        if (++parts == 1) {
          text = part.value();
          continue;
        }
        if (parts == 2) joined = text;
        joined += part.value();
        text = joined;
      }
      Variant value;
      if (!ParseContentText(text, kind, &value)) {
        return Fail(element, "\"" + std::string(text) + "\" is no " +
                                 std::string(ContentKindName(kind)) + " for \"" + key + "\"");
      }
      node = std::make_shared<ConfigTreeNode>(std::move(key), kind, std::move(value));
    }
    if (!parent.Adopt(node))
      return Fail(element, "The key \"" + node->KeyText() + "\" is there twice");
    return true;
  }
};

}  // namespace

std::string ContentText(const Variant& value, ContentKind kind) {
  std::string out;
  switch (kind) {
    case ContentKind::Boolean:
      return value.ToBool() ? "True" : "False";
    case ContentKind::String:
      return value.ToString();
    case ContentKind::Integer:
      AppendNumber(out, static_cast<int>(value.ToInteger()));
      return out;
    case ContentKind::Long:
      AppendNumber(out, value.ToLong());
      return out;
    case ContentKind::Double:
      AppendNumber(out, value.ToDouble());
      return out;
    case ContentKind::Date:
      AppendDate(out, value.ToDate());
      return out;
    case ContentKind::Collection:
      break;
  }
  return out;
}

bool ParseContentText(std::string_view text, ContentKind kind, Variant* value) {
  const std::string_view t = TrimBlanks(text);
  switch (kind) {
    case ContentKind::Boolean:
      if (EqualsText(t, "True") || t == "-1" || t == "1") {
        *value = Variant(true);
      } else if (EqualsText(t, "False") || t == "0") {
        *value = Variant(false);
      } else {
        return false;
      }
      return true;
    case ContentKind::String:
      *value = Variant(std::string(text));
      return true;
    case ContentKind::Integer: {
      int v = 0;
      if (!ParseNumber(t, &v) || v < std::numeric_limits<int16_t>::min() ||
          v > std::numeric_limits<int16_t>::max()) {
        return false;
      }
      *value = Variant(static_cast<int16_t>(v));
      return true;
    }
    case ContentKind::Long: {
      int32_t v = 0;
      if (!ParseNumber(t, &v)) return false;
      *value = Variant(v);
      return true;
    }
    case ContentKind::Double: {
      double v = 0;
      if (!ParseNumber(t, &v)) return false;
      *value = Variant(v);
      return true;
    }
    case ContentKind::Date: {
      double serial = 0;
      Date d;
      if (ParseNumber(t, &serial)) {
        d = Date(serial);
      } else if (!servers::ParseIsoDateTime(t, &d)) {
        return false;
      }
      *value = Variant(d);
      return true;
    }
    case ContentKind::Collection:
      return TrimBlanks(text).empty();
  }
  return false;
}

bool ParseConfigXml(std::string_view bytes, int maxDepth,
                    std::vector<std::shared_ptr<ConfigTreeNode>>* nodes, std::string* error) {
  auto fail = [&](const std::string& what) {
    if (error) *error = what;
    return false;
  };
  pugi::xml_document doc;
  const pugi::xml_parse_result result = doc.load_buffer(bytes.data(), bytes.size(), kParseFlags);
  if (!result) {
    const auto offset = static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, result.offset));
    return fail("Malformed XML: " + std::string(result.description()) + " (" +
                servers::LineAndColumn(bytes, offset) + ")");
  }
  for (const pugi::xml_node& top : doc.children()) {
    if (top.type() == pugi::node_doctype) {
      return fail("A document type declaration is not accepted in a configuration file");
    }
  }
  const pugi::xml_node config = doc.document_element();
  if (std::string_view(config.name()) != "config") {
    return fail("The top element must be <config>, not <" + std::string(config.name()) + ">");
  }
  for (const pugi::xml_attribute& a : config.attributes()) {
    if (std::string_view(a.name()) != "version" || std::string_view(a.value()) != "1") {
      return fail("Unsupported attribute " + std::string(a.name()) + "=\"" + a.value() +
                  "\" on <config>");
    }
  }
  Reader reader;
  reader.source = bytes;
  auto holder = std::make_shared<ConfigTreeNode>(std::string(), ContentKind::Collection, Variant());
  if (!reader.ReadChildren(config, maxDepth, *holder)) return fail(reader.error);
  nodes->assign(holder->Children().begin(), holder->Children().end());
  return true;
}

bool ReadConfigXmlFile(const std::filesystem::path& path, int maxDepth,
                       std::vector<std::shared_ptr<ConfigTreeNode>>* nodes, std::string* error) {
  std::string bytes;
  if (!ReadFileLimited(path, kMaxConfigFileBytes, &bytes, error)) return false;
  if (!ParseConfigXml(bytes, maxDepth, nodes, error)) {
    if (error) *error = path.string() + ": " + *error;
    return false;
  }
  return true;
}

std::string WriteConfigXml(const ConfigTreeNode& top) {
  std::string out;
  out.reserve(64 * top.CountNodes());
  out += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<config version=\"1\">\n";
  for (const auto& child : top.Children())
    WriteNode(out, *child, 1);
  out += "</config>\n";
  return out;
}

}  // namespace vellix
