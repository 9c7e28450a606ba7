#include "platform/outlook/profile_xml.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <regex>
#include <set>

#include "platform/outlook/profile_generator.h"
#include "platform/outlook/profile_mail_program.h"
#include "platform/outlook/profile_message.h"
#include "support/temp_folder.h"

namespace vellix::outlook {
namespace {

constexpr auto npos = std::string::npos;

std::string Problem(const std::string& xml) {
  auto loaded = LoadProfileText(xml, "p.xml");
  EXPECT_EQ(loaded.profile, nullptr) << xml;
  return loaded.problem;
}

std::string Wrap(const std::string& body) {
  return "<profile>\n<store name=\"M\">\n" + body + "\n</store>\n</profile>";
}

TEST(ProfileFile, RefusesABrokenProfileSayingWhatAndWhere) {
  const std::pair<std::string, std::string> cases[] = {
      {"", "not well-formed XML"},
      {"<profile><store name=\"M\">", "not well-formed XML"},
      {"<!DOCTYPE profile [<!ENTITY x \"y\">]>\n<profile/>", "document type declaration"},
      {"<mailbox/>", "<profile>"},
      {"<profile><store/></profile>", "store without a name"},
      {"<profile><store name=\"M\"/><store name=\"m\"/></profile>", "two stores named"},
      {Wrap("<folder name=\"Inbox\"/><folder name=\"INBOX\"/>"), "two folders named \"INBOX\""},
      {Wrap("<folder name=\"In\\box\"/>"), "backslash"},
      {Wrap("<folder name=\"\"/>"), "can't be named"},
      {Wrap("<folder name=\"X\" type=\"letter\"/>"), "unknown type \"letter\""},
      {Wrap("<folder name=\"A\" default=\"6\"/><folder name=\"B\" default=\"6\"/>"),
       "\\\\M\\A\" is already"},
      {Wrap("<folder name=\"A\" default=\"six\"/>"), "no positive number"},
      {Wrap("<folder name=\"A\"><item subject=\"s\"/></folder>"), "without a date"},
      {Wrap("<folder name=\"A\"><item date=\"2025-02-30\"/></folder>"), "\"2025-02-30\""},
      {Wrap("<folder name=\"A\"><item date=\"2025-01-01T24:00:00\"/></folder>"), "not a date"},
      {Wrap("<folder name=\"A\"><item date=\"2025-01-01\" size=\"-3\"/></folder>"), "size"},
      {Wrap("<folder name=\"A\"><item date=\"2025-01-01\" size=\"2000000000\"/></folder>"),
       "more than the 64 MB"},
      {Wrap("<folder name=\"A\"><item date=\"2025-01-01\" key=\"a&#13;Bcc: b\"/></folder>"),
       "key holds a line break"},
      {Wrap("<folder name=\"A\"><item date=\"2025-01-01\" key=\"a&#10;\"/></folder>"),
       "key holds a line break"},
      {Wrap("<item date=\"2025-01-01\"/>"), "<item> inside a store"},
      {Wrap("<folder name=\"A\"><mail/></folder>"), "<mail> inside a folder"},
      {Wrap("<folder name=\"A\">\n\n<bad/></folder>"), "line 5"},
      {Wrap("<folder name=\"I\"><item date=\"2025-01-01\">\n<message>a</message>"
            "<message>b</message></item></folder>"),
       "line 4"},
      {Wrap("<folder name=\"I\"><item date=\"2025-01-01\"><message>a\n<b/>c</message>"
            "</item></folder>"),
       "has <b> inside a <message>, which is text only"},
  };
  for (const auto& [xml, says] : cases) {
    const auto problem = Problem(xml);
    EXPECT_NE(problem.find(says), npos) << xml << "\n -> " << problem;
    EXPECT_EQ(problem.rfind("Mail profile \"p.xml\"", 0), 0U) << problem;
  }
}

TEST(ProfileFile, ReadsTypesDefaultsAndItemsAndWritesThemBackTheSame) {
  const std::string xml = Wrap(R"(
    <folder name="Inbox" type="mail" default="6">
      <folder name="Sub">
        <item subject="Fish &amp; chips" date="2025-03-14T09:30:05" from="Tom" size="5120"/>
      </folder>
    </folder>
    <folder name="Calendar" type="1" default="9 22"/>
    <folder name="Odd" type="99" note="passed over"/>)");
  auto loaded = LoadProfileText(xml, "p.xml");
  ASSERT_NE(loaded.profile, nullptr) << loaded.problem;
  const auto& profile = *loaded.profile;
  auto sub = profile.FindFolder("\\\\M\\Inbox\\Sub");
  ASSERT_NE(sub, nullptr);
  EXPECT_EQ(sub->DefaultItemType(), 0) << "a folder holds what its parent holds";
  ASSERT_EQ(sub->Items().size(), 1U);
  const auto& item = sub->Items()[0];
  EXPECT_EQ(item.subject + "|" + item.sender + "|" + std::to_string(item.size),
            "Fish & chips|Tom|5120");
  EXPECT_EQ(item.received, DateTimeSerial(2025, 3, 14, 9, 30, 5));
  EXPECT_EQ(profile.DefaultFolder(9), profile.DefaultFolder(22));
  EXPECT_EQ(profile.DefaultFolder(9)->DefaultItemType(), 1);
  EXPECT_EQ(profile.FindFolder("\\\\M\\Odd")->DefaultItemType(), 99);

  const auto written = ProfileToXml(profile);
  auto again = LoadProfileText(written, "written");
  ASSERT_NE(again.profile, nullptr) << again.problem << "\n" << written;
  EXPECT_EQ(ProfileToXml(*again.profile), written);
  EXPECT_EQ(again.profile->DefaultFolder(22)->FolderPath(), "\\\\M\\Calendar");
}

TEST(ProfileFile, AMissingOrBrokenProfileMeansNoMailProgramUntilItIsMended) {
  const test::TempFolder scratch;
  const auto file = scratch / "profile.xml";
  std::vector<std::string> reported;
  ProfileMailProgram program(file, [&](const std::string& p) { reported.push_back(p); });
  EXPECT_TRUE(program.CreateApplication().IsNothing());
  EXPECT_NE(program.LastProblem().find("there is no such file"), npos) << program.LastProblem();
  std::ofstream(file) << "<profile><store name='M'><folder name='Inbox' default='6'>";
  EXPECT_TRUE(program.CreateApplication().IsNothing());
  EXPECT_NE(program.LastProblem().find("not well-formed"), npos);
  ASSERT_EQ(reported.size(), 2U);

  std::ofstream(file) << "<profile><store name='M'><folder name='Inbox' default='6'/></store>"
                         "</profile>";
  auto app = program.CreateApplication();
  ASSERT_FALSE(app.IsNothing()) << program.LastProblem();
  EXPECT_TRUE(program.LastProblem().empty());
  EXPECT_EQ(app->GetNamespace("MAPI")->GetDefaultFolder(6)->FolderPath(), "\\\\M\\Inbox");
  // Once read, the profile stays: a broken file later doesn't take it away.
  std::ofstream(file) << "broken";
  EXPECT_FALSE(program.CreateApplication().IsNothing());
  EXPECT_FALSE(ProfileMailProgram(std::shared_ptr<MailProfile>()).CreateApplication());
}

std::shared_ptr<MailProfile> Generated(int32_t folders, int32_t items, uint32_t seed) {
  ProfileRecipe recipe;
  recipe.folders = folders;
  recipe.items = items;
  recipe.seed = seed;
  return GenerateProfile(recipe);
}

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

TEST(ProfileGenerator, BuildsTheFoldersAndItemsAskedForTheSameEachTime) {
  for (const auto& [folders, items] : {std::pair{0, 10}, {4, 0}, {9, 100}, {250, 5000}}) {
    SCOPED_TRACE(std::to_string(folders) + " folders");
    auto profile = Generated(folders, items, 3);
    EXPECT_EQ(profile->FolderCount(), folders);
    EXPECT_EQ(profile->ItemCount(), folders == 0 ? 0 : items);
    EXPECT_EQ(profile->DefaultKinds().size(), static_cast<size_t>(std::min(folders, 9)));
  }
  auto big = Generated(250, 5000, 3);
  EXPECT_EQ(big->DefaultFolder(6)->FolderPath(), "\\\\Mailbox - Alex Morgan\\Inbox");
  EXPECT_EQ(big->DefaultFolder(11)->DefaultItemType(), 4);
  int deepest = 0;
  std::function<void(const ProfileFolder&, int)> walk = [&](const ProfileFolder& f, int depth) {
    deepest = std::max(deepest, depth);
    for (const auto& item : f.Items()) {
      EXPECT_LE(item.received, DateSerial(2026, 11, 1));
      EXPECT_GE(item.received, DateSerial(2023, 11, 1));
    }
    for (const auto& sub : f.SubFolders())
      walk(*sub, depth + 1);
  };
  walk(*big->Stores()[0], 0);
  EXPECT_GE(deepest, 3) << "folders nest";

  // The same recipe gives the same profile, its messages and keys included;
  // another seed other keys.
  const auto once = ProfileToXml(*Generated(40, 300, 9));
  EXPECT_EQ(ProfileToXml(*Generated(40, 300, 9)), once);
  EXPECT_NE(ProfileToXml(*Generated(40, 300, 10)), once);
  auto loaded = LoadProfileText(once, "generated");
  ASSERT_NE(loaded.profile, nullptr) << loaded.problem;
  EXPECT_EQ(loaded.profile->ItemCount(), 300);
  std::set<std::string> keys;
  for (const auto& item : AllItems(*Generated(40, 300, 9)))
    keys.insert(item.key);
  EXPECT_EQ(keys.size(), 300U);
  for (const auto& item : AllItems(*Generated(40, 300, 10)))
    EXPECT_EQ(keys.count(item.key), 0U) << item.key;
}

// What is wrong with a message as RFC 5322 and MIME have it, or empty.
std::string Problems(const std::string& message, const ProfileItem& item) {
  std::string problems;
  const auto problem = [&](const std::string& what) { problems += what + "; "; };
  for (size_t at = 0, end; at < message.size(); at = end + 2) {
    end = message.find("\r\n", at);
    if (end == npos) return "the last line has no CRLF";
    if (message.find_first_of("\r\n", at) < end) return "a bare CR or LF at " + std::to_string(at);
    if (end - at > 998) problem("a line of " + std::to_string(end - at) + " characters");
  }
  const size_t headersEnd = message.find("\r\n\r\n");
  if (headersEnd == npos) return "no end of the headers";
  const std::string headers = message.substr(0, headersEnd + 2);
  for (const char* name : {"From", "To", "Date", "Subject", "Message-ID", "MIME-Version"}) {
    const std::regex once("(^|\r\n)" + std::string(name) + ":");
    const auto n = std::distance(std::sregex_iterator(headers.begin(), headers.end(), once),
                                 std::sregex_iterator());
    if (n != 1) problem(std::string(name) + " is there " + std::to_string(n) + " times");
  }
  static const std::regex date(R"((Mon|Tue|Wed|Thu|Fri|Sat|Sun), ([1-9]|[12][0-9]|3[01]) )"
                               R"((Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [0-9]{4} )"
                               R"(([01][0-9]|2[0-3]):[0-5][0-9]:[0-5][0-9] [+-][0-9]{4})");
  const std::string dated = HeaderValue(message, "Date");
  if (!std::regex_match(dated, date)) problem("the date \"" + dated + "\"");
  if (dated != MessageDate(item.received)) problem("another date");
  static const std::regex mailbox(R"((.+ )?<[a-z0-9.]+@[a-z0-9.]+>)");
  if (!std::regex_match(HeaderValue(message, "From"), mailbox)) problem("the From");
  if (HeaderValue(message, "Message-ID") != "<" + item.key + ">") problem("the Message-ID");
  if (HeaderValue(message, "MIME-Version") != "1.0") problem("the MIME-Version");

  const std::string type = HeaderValue(message, "Content-Type");
  if (!type.starts_with("multipart/mixed")) {
    if (!type.starts_with("text/plain")) problem("the type \"" + type + "\"");
    return problems;
  }
  static const std::regex boundaryOf(R"(boundary="([^"]+)\")");
  std::smatch found;
  if (!std::regex_search(type, found, boundaryOf)) return problems + "no boundary";
  const std::string boundary = found[1];
  const std::string body = message.substr(headersEnd + 4);
  if (!message.ends_with("\r\n--" + boundary + "--\r\n")) problem("no closing boundary");
  const size_t part = body.find("\r\n--" + boundary + "\r\nContent-Type: text/plain");
  const size_t file = body.find("Content-Transfer-Encoding: base64\r\n\r\n");
  if (part == npos || file == npos) return problems + "no parts";
  // Lines of at most 76 base64 digits, padding only at the end.
  const std::string base64 = body.substr(file + 37, body.find("--" + boundary + "--") - file - 37);
  const size_t pad = base64.find('=');
  bool fine = pad == npos || base64.find_first_not_of("=\r\n", pad) == npos;
  for (size_t at = 0, end; fine && at < base64.size(); at = end + 2) {
    end = std::min(base64.find("\r\n", at), base64.size());
    fine = end - at <= 76 &&
           base64.substr(at, end - at)
                   .find_first_not_of(
                       "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"
                       "=") == npos;
  }
  return fine ? problems : problems + "the attachment isn't base64 in lines of 76";
}

TEST(ProfileMessages, GeneratedItemsAreWellFormedVariedMailOfTheirSize) {
  const auto items = AllItems(*Generated(12, 150, 4));
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
  const std::string rendered = RenderMessage(odd);
  EXPECT_EQ(Problems(rendered, odd), "");
  EXPECT_NE(rendered.find("From: \"Okafor, Grace \\\"G\\\"\" <okafor.grace.g@"), npos) << rendered;
  EXPECT_NE(rendered.find("To: =?UTF-8?B?"), npos);
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

TEST(ProfileMessages, ItemsOfAFileGetAMessageAndAKeyTheSameOnEveryLoad) {
  // Items without a message are rendered with a key made from them; twins in
  // one folder are told apart.
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

Hello&#13;world
</message>
        </item>
      </folder></folder></store></profile>)";
  const auto first = AllItems(*LoadProfileText(xml, "p.xml").profile);
  const auto second = AllItems(*LoadProfileText(xml, "p.xml").profile);
  ASSERT_EQ(first.size(), 5U);
  std::set<std::string> keys;
  for (size_t i = 0; i < first.size(); ++i) {
    EXPECT_EQ(first[i].key, second[i].key);
    keys.insert(first[i].key);
  }
  EXPECT_EQ(keys.size(), 5U);
  EXPECT_EQ(first[3].key, "given-key");
  EXPECT_EQ(first[4].key, "kept@example.org");
  EXPECT_EQ(MessageText(first[4]),
            "From: Ann <ann@example.org>\r\nSubject: Kept\r\nMessage-ID: <kept@example.org>\r\n"
            "\r\nHello\r\nworld\r\n");  // a lone CR is a line end too
  EXPECT_EQ(first[4].size, static_cast<int32_t>(MessageText(first[4]).size()));
  EXPECT_EQ(Problems(MessageText(first[0]), first[0]), "");
  EXPECT_EQ(HeaderValue(MessageText(first[0]), "From"), "Tom Becker <tom.becker@example.com>");

  // Written out, each item keeps its message and key.
  const auto written = LoadProfileText(ProfileToXml(*LoadProfileText(xml, "p.xml").profile), "w");
  ASSERT_NE(written.profile, nullptr) << written.problem;
  const auto reread = AllItems(*written.profile);
  for (size_t i = 0; i < first.size(); ++i) {
    EXPECT_EQ(reread[i].key, first[i].key);
    EXPECT_EQ(reread[i].message, MessageText(first[i]));
  }
}

TEST(ProfileMessages, AMessageReadFromTheFileIsWrittenBackAndReadAgainTheSame) {
  // The message's text as the file holds it, and the message it is read as.
  const std::pair<std::string, std::string> cases[] = {
      // Laid out on lines of its own: the break before it and the indentation
      // of the closing tag go.
      {"\nFrom: a\n\n  b\n      ", "From: a\r\n\r\n  b\r\n"},
      // A last line of blanks after a lone CR is cut as after any line end;
      // it was cut only when read back, so the message changed on its way.
      {"From: a&#13;\nSubject: s&#13;\n&#13; ", "From: a\r\nSubject: s\r\n\r\n"},
      {"From: a&#13;\n\nb ", "From: a\r\n\r\nb "},
      // Every part of the text counts, not the first alone.
      {"From: a\n\n<![CDATA[<b>]]> c<!-- note --> d", "From: a\r\n\r\n<b> c d"},
  };
  for (const auto& [text, message] : cases) {
    const std::string xml = Wrap("<folder name=\"I\"><item date=\"2025-01-01\"><message>" + text +
                                 "</message></item></folder>");
    const auto loaded = LoadProfileText(xml, "p.xml");
    ASSERT_NE(loaded.profile, nullptr) << loaded.problem;
    EXPECT_EQ(AllItems(*loaded.profile).at(0).message, message) << text;
    const std::string written = ProfileToXml(*loaded.profile);
    const auto back = LoadProfileText(written, "w.xml");
    ASSERT_NE(back.profile, nullptr) << back.problem;
    EXPECT_EQ(AllItems(*back.profile).at(0).message, message) << written;
    EXPECT_EQ(ProfileToXml(*back.profile), written);
  }
}

}  // namespace
}  // namespace vellix::outlook
