#include "servers/config/config_xml.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "foundation/date.h"
#include "support/temp_folder.h"

namespace vellix {
namespace {

using Nodes = std::vector<std::shared_ptr<ConfigTreeNode>>;

std::shared_ptr<ConfigTreeNode> Parse(const std::string& text, std::string* error = nullptr) {
  Nodes nodes;
  std::string message;
  if (!ParseConfigXml(text, ConfigTreeNode::kMaxDepth, &nodes, &message)) {
    if (error) *error = message;
    return nullptr;
  }
  auto top = std::make_shared<ConfigTreeNode>("", ContentKind::Collection, Variant());
  for (const auto& n : nodes)
    top->Adopt(n);
  return top;
}

// Whether two trees hold the same keys, kinds and values in the same order.
testing::AssertionResult SameTree(const ConfigTreeNode& a, const ConfigTreeNode& b) {
  if (a.KeyText() != b.KeyText() || a.Kind() != b.Kind() || !(a.Content() == b.Content()) ||
      a.Children().size() != b.Children().size()) {
    return testing::AssertionFailure() << "they differ at \"" << b.KeyText() << "\"";
  }
  for (std::size_t i = 0; i < a.Children().size(); ++i) {
    if (auto same = SameTree(*a.Children()[i], *b.Children()[i]); !same) return same;
  }
  return testing::AssertionSuccess();
}

TEST(ConfigXml, AnyKeyAndValueRoundTrips) {
  auto top = std::make_shared<ConfigTreeNode>("", ContentKind::Collection, Variant());
  const std::pair<const char*, const char*> texts[] = {
      {"cmdStopStart-Tip", "Storage && Backup"},
      {"Storage & Backup", "  leading and trailing  "},
      {"<odd> \"quoted\" 'key'", "line one\r\nline two\n"},
      {"tab\there", "\t"},
      {"line\nbreak\r", ""},
      {"Größe", " "},
      {" spaced ", "]]> <b>&amp;</b> & \"' \x01 end"},
      {"1", "Größe ✓"}};
  for (const auto& [key, text] : texts)
    top->GetNode(std::string("Keys.") + key, true, "String", text);
  const std::tuple<const char*, const char*, Variant> typed[] = {
      {"True", "Boolean", true},
      {"False", "Boolean", false},
      {"IntMin", "Integer", int16_t{-32768}},
      {"IntMax", "Integer", int16_t{32767}},
      {"LongMin", "Long", int32_t{-2147483647 - 1}},
      {"Tenth", "Double", 0.1},
      {"Huge", "Double", -1.7976931348623157e308},
      {"Second", "Date", DateTimeSerial(2024, 2, 29, 23, 59, 59)},
      {"Day", "Date", DateSerial(1815, 6, 18)},
      {"Fraction", "Date", Date(45000.123456789)},
      {"Zero", "Date", Date()},
      {"Empty", "Collection", Variant()}};
  for (const auto& [key, type, value] : typed)
    top->GetNode(std::string("Types.") + key, true, type, value);
  const std::string text = WriteConfigXml(*top);
  std::string error;
  auto back = Parse(text, &error);
  ASSERT_TRUE(back) << error << "\n" << text;
  EXPECT_TRUE(SameTree(*back, *top));
  EXPECT_EQ(WriteConfigXml(*back), text);
  EXPECT_NE(text.find(">2024-02-29T23:59:59<"), std::string::npos);
  EXPECT_NE(text.find(">1815-06-18<"), std::string::npos);
}

TEST(ConfigXml, HandWrittenFilesMayLeaveOutTypesAndUseCdata) {
  auto top = Parse(R"(<?xml version="1.0"?>
<!-- a comment -->
<config version="1">
  <node key="Group">
    <node key="Caption"><![CDATA[<b>bold</b>]]></node>
    <node key="Split">one <!-- a note --><![CDATA[<two>]]> three</node>
    <node key="Flag" type="boolean"> true </node>
    <node key="Width" type="Integer">
      375
    </node>
  </node>
</config>)");
  ASSERT_TRUE(top);
  EXPECT_EQ(top->FindChild("Group")->Kind(), ContentKind::Collection);
  EXPECT_EQ(top->GetValue("Group.Caption"), Variant("<b>bold</b>"));
  EXPECT_EQ(top->GetValue("Group.Split"), Variant("one <two> three"));
  EXPECT_EQ(top->GetValue("Group.Flag"), Variant(true));
  EXPECT_EQ(top->GetValue("Group.Width"), Variant(int16_t{375}));
}

TEST(ConfigXml, RefusesMalformedAndHostileFiles) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"", "Malformed"},
      {"<config><node key=\"a\">", "Malformed"},
      {"<settings/>", "top element"},
      {"<config version=\"2\"/>", "Unsupported"},
      {"<config><item key=\"a\"/></config>", "Unexpected element"},
      {"<config><node key=\"a\" name=\"b\"/></config>", "Unexpected attribute"},
      {"<config><node type=\"String\">x</node></config>", "without a key"},
      {"<config><node key=\"a.b\">x</node></config>", "path separator"},
      {"<config><node key=\"Hidden\"/><node key=\"HIDDEN\"/></config>", "twice"},
      {"<config>\n<node key=\"w\" type=\"Integer\">12a</node></config>", "line 2"},
      {"<config><node key=\"w\" type=\"Integer\">40000</node></config>", "no Integer"},
      {"<config><node key=\"f\" type=\"Boolean\">yes</node></config>", "no Boolean"},
      {"<config><node key=\"d\" type=\"Date\">2024-02-31</node></config>", "no Date"},
      {"<config><node key=\"t\" type=\"Texture\"/></config>", "Unknown type"},
      {"<config><node key=\"s\" type=\"String\">x<node key=\"c\"/></node></config>", "holds"},
      {"<config><node key=\"c\" type=\"Collection\">text</node></config>", "Text outside"},
      {"<!DOCTYPE lolz [<!ENTITY lol \"lol\"><!ENTITY lol1 \"&lol;&lol;&lol;&lol;&lol;\">"
       "<!ENTITY lol2 \"&lol1;&lol1;&lol1;&lol1;&lol1;\">]><config><node key=\"a\">&lol2;</node>"
       "</config>",
       "document type"},
      {"<!DOCTYPE config [<!ENTITY xxe SYSTEM \"file:///etc/passwd\">]>"
       "<config><node key=\"a\">&xxe;</node></config>",
       "document type"},
  };
  for (const auto& [text, expected] : cases) {
    std::string error;
    EXPECT_FALSE(Parse(text, &error)) << text;
    EXPECT_NE(error.find(expected), std::string::npos) << text << " -> " << error;
  }
  std::string deep = "<config>";
  for (int i = 0; i <= ConfigTreeNode::kMaxDepth; ++i)
    deep += "<node key=\"n\">";
  for (int i = 0; i <= ConfigTreeNode::kMaxDepth; ++i)
    deep += "</node>";
  deep += "</config>";
  std::string error;
  EXPECT_FALSE(Parse(deep, &error));
  EXPECT_NE(error.find("too deeply"), std::string::npos) << error;
}

TEST(ConfigXml, RefusesHugeFilesWithoutReadingThem) {
  test::TempFolder folder;
  std::string big = "<config><node key=\"Blob\">";
  big.append(std::size_t{50} << 20, 'x');
  big += "</node></config>";
  test::WriteText(folder / "big.xml", big);
  Nodes nodes;
  std::string error;
  EXPECT_FALSE(ReadConfigXmlFile(folder / "big.xml", ConfigTreeNode::kMaxDepth, &nodes, &error));
  EXPECT_NE(error.find("limit"), std::string::npos) << error;
  EXPECT_TRUE(nodes.empty());
  // Within the size limit, a flood of tiny nodes meets the node limit.
  std::string many = "<config><node key=\"L\">";
  for (std::size_t i = 0; i <= kMaxConfigNodes; ++i)
    many += "<node key=\"" + std::to_string(i) + "\"/>";
  many += "</node></config>";
  ASSERT_LT(many.size(), kMaxConfigFileBytes);
  test::WriteText(folder / "many.xml", many);
  EXPECT_FALSE(ReadConfigXmlFile(folder / "many.xml", ConfigTreeNode::kMaxDepth, &nodes, &error));
  EXPECT_NE(error.find("More nodes"), std::string::npos) << error;
}

}  // namespace
}  // namespace vellix
