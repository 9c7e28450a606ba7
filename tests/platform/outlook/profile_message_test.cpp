#include "platform/outlook/profile_message.h"

#include <gtest/gtest.h>

#include <functional>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "platform/outlook/profile_generator.h"
#include "platform/outlook/profile_xml.h"

namespace vellix::outlook {
namespace {

std::vector<ProfileItem> AllItems(const MailProfile& profile) {
  std::vector<ProfileItem> items;
  std::function<void(const ProfileFolder&)> walk = [&](const ProfileFolder& folder) {
    items.insert(items.end(), folder.Items().begin(), folder.Items().end());
    for (const auto& sub : folder.SubFolders())
      walk(*sub);
  };
  for (const auto& store : profile.Stores())
    walk(*store);
  return items;
}

// What is wrong with a message as RFC 5322 and MIME have it, or empty.
std::string Problems(const std::string& message, const ProfileItem& item) {
  std::string problems;
  const auto problem = [&](const std::string& what) { problems += what + "; "; };
  for (size_t i = 0; i < message.size(); ++i) {
    const bool crlf = message[i] == '\r'   ? message[i + 1] == '\n'
                      : message[i] == '\n' ? i > 0 && message[i - 1] == '\r'
                                           : true;
    if (!crlf) return "a bare CR or LF at " + std::to_string(i);
  }
  size_t at = 0;
  while (at < message.size()) {
    const size_t end = message.find("\r\n", at);
    if (end == std::string::npos) return "the last line has no CRLF";
    if (end - at > 998) problem("a line of " + std::to_string(end - at) + " characters");
    at = end + 2;
  }
  const size_t headersEnd = message.find("\r\n\r\n");
  if (headersEnd == std::string::npos) return "no end of the headers";
  for (const char* name : {"From", "To", "Date", "Subject", "Message-ID", "MIME-Version"}) {
    const std::regex once("(^|\r\n)" + std::string(name) + ":");
    const std::string headers = message.substr(0, headersEnd + 2);
    const auto n = std::distance(std::sregex_iterator(headers.begin(), headers.end(), once),
                                 std::sregex_iterator());
    if (n != 1) problem(std::string(name) + " is there " + std::to_string(n) + " times");
  }
  static const std::regex date(R"((Mon|Tue|Wed|Thu|Fri|Sat|Sun), ([1-9]|[12][0-9]|3[01]) )"
                               R"((Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [0-9]{4} )"
                               R"(([01][0-9]|2[0-3]):[0-5][0-9]:[0-5][0-9] [+-][0-9]{4})");
  if (!std::regex_match(HeaderValue(message, "Date"), date)) {
    problem("the date \"" + HeaderValue(message, "Date") + "\"");
  }
  if (HeaderValue(message, "Date") != MessageDate(item.received)) problem("another date");
  static const std::regex mailbox(R"((.+ )?<[a-z0-9.]+@[a-z0-9.]+>)");
  if (!std::regex_match(HeaderValue(message, "From"), mailbox)) problem("the From");
  if (HeaderValue(message, "Message-ID") != "<" + item.key + ">") problem("the Message-ID");
  if (HeaderValue(message, "MIME-Version") != "1.0") problem("the MIME-Version");

  const std::string type = HeaderValue(message, "Content-Type");
  if (type.starts_with("multipart/mixed")) {
    static const std::regex boundaryOf(R"(boundary="([^"]+)\")");
    std::smatch found;
    if (!std::regex_search(type, found, boundaryOf)) return problems + "no boundary";
    const std::string boundary = found[1];
    const std::string body = message.substr(headersEnd + 4);
    if (!message.ends_with("\r\n--" + boundary + "--\r\n")) problem("no closing boundary");
    const size_t part = body.find("\r\n--" + boundary + "\r\nContent-Type: text/plain");
    const size_t file = body.find("Content-Transfer-Encoding: base64\r\n\r\n");
    if (part == std::string::npos || file == std::string::npos) return problems + "no parts";
    const size_t data = file + 37;
    const size_t dataEnd = body.find("--" + boundary + "--", data);
    const std::string base64 = body.substr(data, dataEnd - data);
    // Lines of at most 76 base64 digits, padding only at the end.
    const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    size_t line = 0;
    for (size_t i = 0; i < base64.size(); ++i) {
      const char c = base64[i];
      if (c == '\r' && i + 1 < base64.size() && base64[i + 1] == '\n') {
        line = 0;
        ++i;
      } else if ((digits.find(c) == std::string::npos &&
                  !(c == '=' && base64.find_first_not_of("=\r\n", i) == std::string::npos)) ||
                 ++line > 76) {
        problem("the attachment isn't base64 in lines of 76");
        break;
      }
    }
  } else if (!type.starts_with("text/plain")) {
    problem("the type \"" + type + "\"");
  }
  return problems;
}

ProfileRecipe Recipe(uint32_t seed) {
  ProfileRecipe recipe;
  recipe.folders = 12;
  recipe.items = 150;
  recipe.seed = seed;
  return recipe;
}

TEST(ProfileMessages, GeneratedItemsAreWellFormedVariedMailOfTheirSize) {
  const auto items = AllItems(*GenerateProfile(Recipe(4)));
  ASSERT_EQ(items.size(), 150U);
  std::set<std::string> bodies;
  int attached = 0;
  for (const auto& item : items) {
    const std::string message = MessageText(item);
    SCOPED_TRACE(item.subject + "\n" + message.substr(0, 600));
    EXPECT_EQ(Problems(message, item), "");
    EXPECT_EQ(message.size(), static_cast<size_t>(item.size)) << "a message has its item's size";
    EXPECT_EQ(HeaderValue(message, "Subject"), item.subject);
    bodies.insert(message.substr(message.find("\r\n\r\n"), 400));
    attached += HeaderValue(message, "Content-Type").starts_with("multipart/mixed") ? 1 : 0;
  }
  EXPECT_GT(bodies.size(), 140U) << "bodies vary";
  EXPECT_TRUE(attached > 3 && attached < 40) << attached << " of 150 carry attachments";

  // What the fields hold is made fit for a header: long, foreign, odd.
  ProfileItem odd;
  odd.subject = std::string(300, 'x') + " and then " + std::string(120, 'y') + " line\nbreak";
  odd.sender = "Okafor, Grace \"G\"";
  odd.recipient = "Zoë Ångström";
  odd.received = DateTimeSerial(2026, 3, 1, 0, 0, 0);
  odd.size = 100;
  odd.key = "odd@example.com";
  EXPECT_EQ(Problems(RenderMessage(odd), odd), "");
  EXPECT_NE(RenderMessage(odd).find("From: \"Okafor, Grace \\\"G\\\"\" <okafor.grace.g@"),
            std::string::npos)
      << RenderMessage(odd);
  EXPECT_NE(RenderMessage(odd).find("To: =?UTF-8?B?"), std::string::npos);
  // Every size from what the message needs on is met to the byte.
  const std::pair<int32_t, std::string> sizes[] = {
      {2500, ""},      {2501, ""},      {2502, ""},       {2503, ""},  {6000, "a.pdf"},
      {6001, "a.pdf"}, {6002, "a.pdf"}, {6003, "a.pdf"},  {70001, ""}, {70002, ""},
      {70003, ""},     {70004, ""},     {123457, "b.png"}};
  for (const auto& [size, attachment] : sizes) {
    odd.size = size;
    odd.attachment = attachment;
    const std::string message = RenderMessage(odd);
    EXPECT_EQ(message.size(), static_cast<size_t>(size)) << attachment;
    EXPECT_EQ(Problems(message, odd), "") << size;
  }
}

TEST(ProfileMessages, KeysAreUniqueAndTheSameForTheSameProfile) {
  const auto once = AllItems(*GenerateProfile(Recipe(7)));
  const auto twice = AllItems(*GenerateProfile(Recipe(7)));
  const auto other = AllItems(*GenerateProfile(Recipe(8)));
  std::set<std::string> keys;
  std::set<std::string> otherKeys;
  for (size_t i = 0; i < once.size(); ++i) {
    keys.insert(once[i].key);
    otherKeys.insert(other[i].key);
    EXPECT_EQ(once[i].key, twice[i].key);
    if (i % 10 == 0) {
      EXPECT_EQ(MessageText(once[i]), MessageText(twice[i]));
    }
  }
  EXPECT_EQ(keys.size(), once.size());
  for (const auto& key : otherKeys)
    EXPECT_EQ(keys.count(key), 0U) << key;

  // A profile file: items without a message are rendered with a key made
  // from them, the same on every load; twins in one folder are told apart.
  const std::string xml = R"(<profile><store name="M"><folder name="Inbox" type="mail">
      <item subject="Lunch?" date="2025-03-14T09:30:05" from="Tom Becker" size="3000"/>
      <item subject="Lunch?" date="2025-03-14T09:30:05" from="Tom Becker" size="3000"/>
      <folder name="Sub">
        <item subject="Lunch?" date="2025-03-14T09:30:05" from="Tom Becker" size="3000"/>
        <item subject="Own" date="2025-03-15" key="given-key"/>
        <item subject="Kept" date="2025-03-16">
          <message>From: Ann &lt;ann@example.org&gt;
Subject: Kept
Message-ID: &lt;kept@example.org&gt;

Hello
</message>
        </item>
      </folder></folder></store></profile>)";
  const auto first = AllItems(*LoadProfileText(xml, "p.xml").profile);
  const auto second = AllItems(*LoadProfileText(xml, "p.xml").profile);
  ASSERT_EQ(first.size(), 5U);
  std::set<std::string> fileKeys;
  for (size_t i = 0; i < first.size(); ++i) {
    EXPECT_EQ(first[i].key, second[i].key);
    fileKeys.insert(first[i].key);
  }
  EXPECT_EQ(fileKeys.size(), 5U);
  EXPECT_EQ(first[3].key, "given-key");
  EXPECT_EQ(first[4].key, "kept@example.org");
  EXPECT_EQ(MessageText(first[4]),
            "From: Ann <ann@example.org>\r\nSubject: Kept\r\nMessage-ID: <kept@example.org>\r\n"
            "\r\nHello\r\n");
  EXPECT_EQ(first[4].size, static_cast<int32_t>(MessageText(first[4]).size()));
  EXPECT_EQ(Problems(MessageText(first[0]), first[0]), "");
  EXPECT_EQ(HeaderValue(MessageText(first[0]), "From"), "Tom Becker <tom.becker@example.com>");

  // Written out, each item keeps its message and key.
  const auto written = LoadProfileText(ProfileToXml(*LoadProfileText(xml, "p.xml").profile), "w");
  ASSERT_NE(written.profile, nullptr) << written.problem;
  const auto reread = AllItems(*written.profile);
  for (size_t i = 0; i < first.size(); ++i) {
    EXPECT_EQ(reread[i].key, first[i].key);
    EXPECT_FALSE(reread[i].message.empty());
    EXPECT_EQ(reread[i].message, MessageText(first[i]));
  }
  const auto twoMessages = LoadProfileText(
      R"(<profile><store name="M"><folder name="I"><item date="2025-01-01">
        <message>a</message><message>b</message></item></folder></store></profile>)",
      "two.xml");
  EXPECT_EQ(twoMessages.profile, nullptr);
  EXPECT_NE(twoMessages.problem.find("line 2"), std::string::npos) << twoMessages.problem;
}

}  // namespace
}  // namespace vellix::outlook
