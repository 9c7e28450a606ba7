#include "servers/config/config_tree_node.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "foundation/vb_error.h"
#include "servers/config/temp_folder.h"

namespace vellix {
namespace {

std::shared_ptr<ConfigTreeNode> NewTree() {
  auto root = std::make_shared<ConfigTreeNode>("", ContentKind::Collection, Variant());
  root->GetNode("Componants", true, "Collection", Variant());
  return root;
}

std::vector<std::string> EntryValues(ConfigNode& list) {
  std::vector<std::string> values;
  for (const auto& entry : list.ConfigEntries())
    values.push_back(entry->GetValue("").ToString());
  return values;
}

int32_t ErrorNumberOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const VbError& e) {
    return e.Number();
  }
  return 0;
}

TEST(ConfigTree, FindsKeysByDottedPathWithoutRegardToCase) {
  auto root = NewTree();
  root->GetNode("Componants.VellixControl.Strings.ProductName", true, "String", "Vellix Control");

  EXPECT_EQ(root->GetValue("componants.VELLIXCONTROL.strings.productname"),
            Variant("Vellix Control"));
  auto branch = root->GetNode("Componants.VellixControl", false, "", Variant());
  ASSERT_FALSE(branch.IsNothing());
  EXPECT_EQ(branch->Key(), "VellixControl");
  EXPECT_EQ(branch->GetValue("Strings.ProductName"), Variant("Vellix Control"));

  // Only the product's own spelling finds the branch.
  EXPECT_TRUE(root->GetNode("Components.VellixControl", false, "", Variant()).IsNothing());
  EXPECT_TRUE(root->GetValue("Components.VellixControl.Strings.ProductName").IsEmpty());
  // Paths with an empty part find nothing, and create nothing either.
  for (const char* bad : {".Componants", "Componants.", "Componants..VellixControl"}) {
    EXPECT_TRUE(root->GetValue(bad).IsEmpty()) << bad;
    EXPECT_TRUE(root->GetNode(bad, true, "String", "x").IsNothing()) << bad;
  }
  EXPECT_EQ(root->CountNodes(), 5u);
}

TEST(ConfigTree, FirstReadCreatesTheSettingWithItsDefault) {
  auto root = NewTree();
  auto hidden = root->GetNode("Componants.VellixControl.Hidden", true, "Boolean", true);
  ASSERT_FALSE(hidden.IsNothing());
  EXPECT_EQ(hidden->GetContent(), Variant(true));
  EXPECT_EQ(hidden->ContentType(), "Boolean");
  EXPECT_EQ(root->GetNode("Componants.VellixControl", false, "", Variant())->ContentType(),
            "Collection");

  // A later read with another default finds what was saved.
  hidden->SetContent(false);
  EXPECT_EQ(root->GetNode("Componants.VellixControl.Hidden", true, "Boolean", true)->GetContent(),
            Variant(false));

  // Defaults are converted to the type asked for; no type takes the default's.
  EXPECT_EQ(root->GetNode("A.Count", true, "integer", "42")->GetContent(), Variant(int16_t{42}));
  EXPECT_EQ(root->GetNode("A.Name", true, "", "text")->ContentType(), "String");
  EXPECT_EQ(root->GetNode("A.Group", true, "", Variant())->ContentType(), "Collection");

  // A server failure: negative numbers, and nothing made.
  const auto before = root->CountNodes();
  EXPECT_EQ(ErrorNumberOf([&] { root->GetNode("B.Count", true, "Integer", "many"); }),
            config_error::kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf([&] { root->GetNode("B.Flag", true, "Bool", true); }),
            config_error::kUnknownType);
  EXPECT_EQ(root->CountNodes(), before);
  // No value node is turned into a collection behind the user's back.
  EXPECT_TRUE(root->GetNode("Componants.VellixControl.Hidden.X", true, "String", "").IsNothing());
  EXPECT_EQ(root->CountNodes(), before);
}

TEST(ConfigTree, ValuesKeepTheirNodesType) {
  auto root = NewTree();
  auto width = root->GetNode("Width", true, "Integer", 0);
  width->SetContent("375");
  EXPECT_EQ(width->GetContent(), Variant(int16_t{375}));
  EXPECT_EQ(ErrorNumberOf([&] { width->SetContent(40000); }), config_error::kTypeMismatch);
  EXPECT_EQ(width->GetContent(), Variant(int16_t{375}));

  auto name = root->GetNode("Name", true, "String", "");
  name->SetContent(12);
  EXPECT_EQ(name->GetContent(), Variant("12"));
  auto when = root->GetNode("When", true, "Date", Variant());
  when->SetContent(45000.5);
  EXPECT_EQ(when->GetContent(), Variant(Date(45000.5)));
  EXPECT_EQ(ErrorNumberOf([&] { root->SetContent("x"); }), config_error::kNotAValue);
  EXPECT_TRUE(root->GetContent().IsEmpty());
}

TEST(ConfigTree, ListEntriesFollowTreeOrderAndShowNewEntries) {
  auto root = NewTree();
  for (const char* item : {"Day", "Week", "Month"}) {
    root->GetNode(std::string("Units.") + item, true, "String", std::string("One ") + item);
  }
  auto units = root->GetNode("Units", false, "", Variant());
  EXPECT_EQ(EntryValues(*units), (std::vector<std::string>{"One Day", "One Week", "One Month"}));
  EXPECT_EQ(units->ConfigEntries()[1]->Key(), "Week");

  // An entry added to the tree shows up without any other change.
  root->GetNode("Units.Year", true, "String", "One Year");
  EXPECT_EQ(EntryValues(*units).back(), "One Year");
  // A combo box's starting entry is read as the child "<control>.<n>".
  root->GetNode("cboLater.1", true, "String", "Tomorrow");
  EXPECT_EQ(root->GetValue("cboLater.1"), Variant("Tomorrow"));
}

TEST(ConfigTree, ManyChildrenStayFoundInOrder) {
  auto root = NewTree();
  auto list = root->GetNode("List", true, "Collection", Variant());
  for (int i = 0; i < 300; ++i) {
    list->GetNode("Item" + std::to_string(i), true, "Long", i);
  }
  for (int i = 0; i < 300; i += 7) {
    EXPECT_EQ(root->GetValue("list.ITEM" + std::to_string(i)), Variant(int32_t{i}));
  }
  EXPECT_TRUE(root->GetValue("List.Item300").IsEmpty());
  // Asking for an existing key in another case makes no second node.
  list->GetNode("ITEM5", true, "Long", 99);
  auto entries = list->ConfigEntries();
  ASSERT_EQ(entries.size(), 300u);
  EXPECT_EQ(entries[299]->Key(), "Item299");
  EXPECT_EQ(root->GetValue("List.Item5"), Variant(int32_t{5}));
}

TEST(ConfigTree, GraftsTheTopNodesOfAFreeBranchBelowTheParentKey) {
  test::TempFolder folder;
  test::WriteText(folder / "boot.xml", R"(<config>
  <node key="VellixControl" type="Collection">
    <node key="Hidden" type="Boolean">False</node>
  </node>
</config>)");
  auto root = NewTree();
  Ref<ConfigNode> branch(NewFreeConfigNode());
  // The caller joins the folder and the name with a backslash.
  ASSERT_TRUE(branch->LoadFile(folder.Path().string() + "\\boot.xml"));
  EXPECT_EQ(branch->Key(), "");

  EXPECT_FALSE(root->AttachBranch(branch, "Nowhere"));
  EXPECT_FALSE(root->AttachBranch(Ref<ConfigNode>(), "Componants"));
  ASSERT_TRUE(root->AttachBranch(branch, "Componants"));
  EXPECT_EQ(root->GetValue("Componants.VellixControl.Hidden"), Variant(false));
  EXPECT_TRUE(branch->ConfigEntries().empty());
  // An emptied branch has nothing left to graft.
  EXPECT_FALSE(root->AttachBranch(branch, "Componants"));

  // A key already below the parent is never replaced: the graft is refused
  // whole and both sides stay as they were.
  Ref<ConfigNode> again(NewFreeConfigNode());
  ASSERT_TRUE(again->LoadFile((folder / "boot.xml").string()));
  again->GetNode("VellixControl.Hidden", false, "", Variant())->SetContent(true);
  again->GetNode("Other", true, "String", "x");
  EXPECT_FALSE(root->AttachBranch(again, "componants"));
  EXPECT_EQ(root->GetValue("Componants.VellixControl.Hidden"), Variant(false));
  EXPECT_TRUE(root->GetValue("Componants.Other").IsEmpty());
  EXPECT_EQ(again->ConfigEntries().size(), 2u);

  // A node can't be grafted below itself.
  auto componants = root->GetNode("Componants", false, "", Variant());
  EXPECT_FALSE(componants->AttachBranch(root, "VellixControl"));
  EXPECT_FALSE(root->AttachBranch(root, "Componants"));
  EXPECT_EQ(root->GetValue("Componants.VellixControl.Hidden"), Variant(false));
}

TEST(ConfigTree, FailedLoadChangesNothing) {
  test::TempFolder folder;
  auto node = std::static_pointer_cast<ConfigTreeNode>(NewFreeConfigNode());
  node->GetNode("Kept", true, "String", "still here");
  test::WriteText(folder / "broken.xml", "<config><node key=\"a\">");

  EXPECT_FALSE(node->LoadFile((folder / "missing.xml").string()));
  EXPECT_NE(node->LastError().find("missing.xml"), std::string::npos);
  EXPECT_FALSE(node->LoadFile((folder / "broken.xml").string()));
  EXPECT_FALSE(node->LoadFile(folder.Path().string()));
  EXPECT_EQ(node->GetValue("Kept"), Variant("still here"));

  test::WriteText(folder / "good.xml", R"(<config><node key="New">fresh</node></config>)");
  ASSERT_TRUE(node->LoadFile((folder / "good.xml").string()));
  EXPECT_TRUE(node->GetValue("Kept").IsEmpty());
  EXPECT_EQ(node->GetValue("New"), Variant("fresh"));
}

}  // namespace
}  // namespace vellix
