#include "servers/engine/store_database.h"

#include <gtest/gtest.h>

#include <sqlite3.h>

#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "foundation/date.h"
#include "foundation/vb_error.h"
#include "servers/engine/store_file.h"
#include "support/expect_vb_error.h"
#include "support/temp_folder.h"

namespace vellix::engine {
namespace {

using vellix::test::ReadText;
using vellix::test::TempFolder;
using vellix::test::WriteText;

const Date kStart = DateSerial(2024, 1, 1);
const Date kEnd = DateSerial(2025, 1, 1);

// A message whose bytes say which item it is, with bytes a text column would spoil.
std::string MessageFor(const std::string& key, size_t size = 300) {
  std::string message = "From: a@example.com\r\nSubject: " + key + "\r\n\r\n";
  message += std::string("\0\xff\r\n", 4);
  while (message.size() < size)
    message += key + " ";
  message.resize(size);
  return message;
}

StoreItem Item(const std::string& key, Date received, const std::string& folder = "\\\\M\\Inbox") {
  return StoreItem{
      .key = key, .folderPath = folder, .received = received, .message = MessageFor(key)};
}

// Runs SQL on a store file behind the program's back.
void Tamper(const std::filesystem::path& file, const char* sql) {
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
  char* error = nullptr;
  EXPECT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, &error), SQLITE_OK) << (error ? error : "");
  sqlite3_free(error);
  sqlite3_close(db);
}

TEST(StoreFile, IsMadeOnceWithItsPeriodAndOpensAgainAsAStore) {
  const TempFolder scratch;
  const auto file = scratch / "Store" / "File 2024.pst";
  std::string error;
  ASSERT_TRUE(CreateStoreFile(file, "File 2024", kStart, kEnd, &error)) << error;
  const StoreFileFacts facts = InspectStoreFile(file);
  EXPECT_TRUE(facts.exists && facts.isStore);
  EXPECT_EQ(facts.name, "File 2024");
  EXPECT_EQ(facts.start, kStart);
  EXPECT_EQ(facts.end, kEnd);
  EXPECT_GT(facts.size, 0);
  // Never made over a file that is there, a store or not; nothing is left beside it.
  const std::string before = ReadText(file);
  EXPECT_FALSE(CreateStoreFile(file, "Other", kStart, kEnd, &error));
  EXPECT_EQ(error, "a file of that name is there already");
  EXPECT_EQ(ReadText(file), before);
  EXPECT_EQ(InspectStoreFile(file).name, "File 2024");
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(scratch / "Store"))
    names.push_back(entry.path().filename().string());
  EXPECT_EQ(names, std::vector<std::string>{"File 2024.pst"});
  StoreDatabase store = StoreDatabase::Open(file, StoreDatabase::Access::kReadWrite);
  EXPECT_EQ(store.Header().name, "File 2024");
  EXPECT_EQ(store.Header().formatVersion, kStoreFormatVersion);
  EXPECT_EQ(store.ItemCount(), 0);
  EXPECT_EQ(store.FirstEntry(), Date());
  EXPECT_NE(test::ErrorDescription([&] {
              StoreDatabase::Create(file, "x", kStart, kEnd);
            }).find("there already"),
            std::string::npos);
}

TEST(StoreFile, WhatDoesNotOpenAsAStoreIsNoneAndIsLeftAsItWas) {
  const TempFolder scratch;
  const auto filled = scratch / "filled.pst";
  {
    StoreDatabase store = StoreDatabase::Create(filled, "File 2024", kStart, kEnd);
    std::vector<StoreItem> items;
    for (int i = 0; i < 40; ++i)
      items.push_back(Item("k" + std::to_string(i), kStart));
    store.FileItems(items, kStart);
  }
  const std::string whole = ReadText(filled);
  ASSERT_GT(whole.size(), 8192U);
  struct Case {
    std::string name;
    std::function<void(const std::filesystem::path&)> make;
    std::string why;  // part of the reason given
  };
  const Case cases[] = {
      {"text", [](const auto& f) { WriteText(f, "VELLIX-STORE 1\nName=File 2024\n"); },
       "no SQLite database"},
      {"empty", [](const auto& f) { WriteText(f, ""); }, "no SQLite database"},
      {"first page only", [&](const auto& f) { WriteText(f, whole.substr(0, 4096)); }, ""},
      {"cut in its header", [&](const auto& f) { WriteText(f, whole.substr(0, 60)); }, "malformed"},
      {"another program's database",
       [](const auto& f) {
         std::filesystem::remove(f);
         Tamper(f, "CREATE TABLE header (name TEXT)");
       },
       "no period store"},
      {"header row gone",
       [&](const auto& f) {
         WriteText(f, whole);
         Tamper(f, "DELETE FROM header");
       },
       "header is empty"},
      {"a later layout",
       [&](const auto& f) {
         WriteText(f, whole);
         Tamper(f, "UPDATE header SET format_version = 2");
       },
       "layout 2"},
      {"missing", [](const auto&) {}, "there is no such file"},
      {"a folder", [](const auto& f) { std::filesystem::create_directories(f); },
       "it is not a file"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const auto file = scratch / ("case " + c.name + ".pst");
    c.make(file);
    const std::string bytes = ReadText(file);
    EXPECT_FALSE(InspectStoreFile(file).isStore);
    std::string why;
    EXPECT_FALSE(StoreDatabase::TryOpen(file, StoreDatabase::Access::kReadWrite, &why));
    EXPECT_NE(why.find(c.why), std::string::npos) << why;
    const std::string raised = test::ErrorDescription(
        [&] { StoreDatabase::Open(file, StoreDatabase::Access::kReadOnly); });
    EXPECT_NE(raised.find(file.string()), std::string::npos) << raised;
    EXPECT_EQ(ReadText(file), bytes) << "looking changed the file";
  }
}

TEST(StoreDatabase, FilesEachItemWholeAndOnceAndABatchAllOrNothing) {
  const TempFolder scratch;
  const auto file = scratch / "File 2024.pst";
  StoreDatabase store = StoreDatabase::Create(file, "File 2024", kStart, kEnd);
  const Date filed = DateTimeSerial(2024, 6, 1, 12, 0, 0);
  const std::vector<StoreItem> batch = {
      Item("a", DateTimeSerial(2024, 3, 2, 9, 0, 0)),
      Item("b", DateTimeSerial(2024, 1, 5, 8, 30, 0), "\\\\M\\Inbox\\Sub"),
      Item("c", DateTimeSerial(2024, 2, 7, 17, 15, 5)),
  };
  using O = FileOutcome;
  EXPECT_EQ(store.FileItems(batch, filed), (std::vector<O>{O::kFiled, O::kFiled, O::kFiled}));
  EXPECT_EQ(store.FileItems(batch, filed),
            (std::vector<O>{O::kAlreadyThere, O::kAlreadyThere, O::kAlreadyThere}));
  // A key twice in one batch, and one filed before, go in once.
  EXPECT_EQ(
      store.FileItems(std::vector{Item("d", filed), Item("d", filed), Item("a", filed)}, filed),
      (std::vector<O>{O::kFiled, O::kAlreadyThere, O::kAlreadyThere}));
  EXPECT_EQ(store.ItemCount(), 4);
  // A batch that fails part-way leaves none of it, and the store takes the next.
  struct Bad {
    std::string name;
    StoreItem item;
  };
  StoreItem noMessage = Item("e3", filed);
  noMessage.message.clear();
  const Bad bads[] = {{"no key", Item("", filed)}, {"no message", noMessage}};
  for (const auto& bad : bads) {
    SCOPED_TRACE(bad.name);
    const std::string raised = test::ErrorDescription([&] {
      store.FileItems(std::vector{Item("e1", filed), Item("e2", filed), bad.item}, filed);
    });
    EXPECT_NE(raised.find("none of its batch was filed"), std::string::npos) << raised;
    EXPECT_EQ(store.ItemCount(), 4);
    EXPECT_FALSE(store.Holds("e1") || store.Holds("e2"));
  }
  EXPECT_EQ(store.FileItem(Item("e1", filed), filed), O::kFiled);
  // Reopened, it holds each message byte for byte, by folder, oldest first.
  StoreDatabase again = StoreDatabase::Open(file, StoreDatabase::Access::kReadOnly);
  const auto inbox = again.ItemsIn("\\\\m\\INBOX");  // paths without regard to case
  std::vector<std::string> keys;
  for (const auto& item : inbox) {
    keys.push_back(item.key);
    EXPECT_EQ(item.message, MessageFor(item.key));
    EXPECT_EQ(item.size, static_cast<int64_t>(item.message.size()));
    EXPECT_EQ(item.filed, filed);
  }
  EXPECT_EQ(keys, (std::vector<std::string>{"c", "a", "d", "e1"}));
  EXPECT_EQ(inbox[0].received, DateTimeSerial(2024, 2, 7, 17, 15, 5));
  EXPECT_EQ(again.ItemsIn("\\\\M\\Inbox\\Sub").size(), 1U);
  EXPECT_EQ(again.FolderPaths(), (std::vector<std::string>{"\\\\M\\Inbox", "\\\\M\\Inbox\\Sub"}));
  EXPECT_EQ(again.FirstEntry(), DateTimeSerial(2024, 1, 5, 8, 30, 0));
  EXPECT_EQ(again.LastEntry(), filed);
  int64_t visited = 0;
  Date previous;
  again.ForEachItem([&](const StoredItem& item) {
    EXPECT_GE(item.received, previous);
    previous = item.received;
    ++visited;
  });
  EXPECT_EQ(visited, 5);
  // A store opened to read takes nothing.
  EXPECT_NE(
      test::ErrorDescription([&] { again.FileItem(Item("f", filed), filed); }).find(file.string()),
      std::string::npos);
  EXPECT_EQ(again.ItemCount(), 5);
  // A store made before the index of filed keys reads the same, and gets the
  // index when it is next opened to write.
  const auto hasIndex = [&] {
    return InspectStoreFile(file).isStore &&
           ReadText(file).find("items_filed") != std::string::npos;
  };
  EXPECT_TRUE(hasIndex());
  Tamper(file, "DROP INDEX items_filed");
  EXPECT_FALSE(hasIndex());
  const auto filedKeys = StoreDatabase::Open(file, StoreDatabase::Access::kReadOnly).FiledKeys();
  EXPECT_EQ(filedKeys.size(), 5U);
  EXPECT_EQ(filedKeys.at("c"), filed);
  EXPECT_FALSE(hasIndex());
  EXPECT_EQ(StoreDatabase::Open(file, StoreDatabase::Access::kReadWrite).ItemCount(), 5);
  EXPECT_TRUE(hasIndex());
}

}  // namespace
}  // namespace vellix::engine
