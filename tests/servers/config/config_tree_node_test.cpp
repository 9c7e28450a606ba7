#include "servers/config/config_tree_node.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/expect_vb_error.h"
#include "support/temp_folder.h"

namespace vellix {
namespace {

std::shared_ptr<ConfigTreeNode> NewTree() {
  auto root = std::make_shared<ConfigTreeNode>("", ContentKind::Collection, Variant());
  root->GetNode("Componants", true, "Collection", Variant());
  return root;
}

using test::ErrorNumber;

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

TEST(ConfigTree, FirstReadCreatesTheSettingWithItsDefaultAndValuesKeepTheirType) {
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
  // Defaults and values are converted to the node's type; no type takes the default's.
  auto width = root->GetNode("A.Width", true, "integer", "42");
  EXPECT_EQ(width->GetContent(), Variant(int16_t{42}));
  width->SetContent("375");
  EXPECT_EQ(width->GetContent(), Variant(int16_t{375}));
  auto name = root->GetNode("A.Name", true, "", "text");
  EXPECT_EQ(name->ContentType(), "String");
  name->SetContent(12);
  EXPECT_EQ(name->GetContent(), Variant("12"));
  auto when = root->GetNode("A.When", true, "Date", Variant());
  when->SetContent(45000.5);
  EXPECT_EQ(when->GetContent(), Variant(Date(45000.5)));
  EXPECT_EQ(root->GetNode("A.Group", true, "", Variant())->ContentType(), "Collection");
  // A server failure: negative numbers, and nothing made or changed.
  const auto before = root->CountNodes();
  EXPECT_EQ(ErrorNumber([&] { root->GetNode("B.Count", true, "Integer", "many"); }),
            config_error::kTypeMismatch);
  EXPECT_EQ(ErrorNumber([&] { root->GetNode("B.Flag", true, "Bool", true); }),
            config_error::kUnknownType);
  EXPECT_EQ(ErrorNumber([&] { width->SetContent(40000); }), config_error::kTypeMismatch);
  EXPECT_EQ(width->GetContent(), Variant(int16_t{375}));
  EXPECT_EQ(ErrorNumber([&] { root->SetContent("x"); }), config_error::kNotAValue);
  EXPECT_TRUE(root->GetContent().IsEmpty());
  // No value node is turned into a collection behind the user's back.
  EXPECT_TRUE(root->GetNode("Componants.VellixControl.Hidden.X", true, "String", "").IsNothing());
  EXPECT_EQ(root->CountNodes(), before);
}

TEST(ConfigTree, ManyEntriesStayFoundAndListedInTreeOrder) {
  auto root = NewTree();
  auto list = root->GetNode("List", true, "Collection", Variant());
  for (int i = 0; i < 300; ++i)
    list->GetNode("Item" + std::to_string(i), true, "Long", i);
  for (int i = 0; i < 300; i += 7)
    EXPECT_EQ(root->GetValue("list.ITEM" + std::to_string(i)), Variant(int32_t{i}));
  EXPECT_TRUE(root->GetValue("List.Item300").IsEmpty());
  // Asking for an existing key in another case makes no second node.
  list->GetNode("ITEM5", true, "Long", 99);
  auto entries = list->ConfigEntries();
  ASSERT_EQ(entries.size(), 300u);
  for (std::size_t i = 0; i < entries.size(); ++i)
    ASSERT_EQ(entries[i]->Key(), "Item" + std::to_string(i));
  EXPECT_EQ(entries[5]->GetValue(""), Variant(int32_t{5}));
  // An entry added to the tree shows up without any other change.
  root->GetNode("List.Last", true, "String", "x");
  EXPECT_EQ(list->ConfigEntries().back()->Key(), "Last");
  // A combo box's starting entry is read as the child "<control>.<n>".
  root->GetNode("cboLater.1", true, "String", "Tomorrow");
  EXPECT_EQ(root->GetValue("cboLater.1"), Variant("Tomorrow"));
}

TEST(ConfigTree, AFreeBranchLoadsWholeOrNotAtAllAndGraftsBelowTheParentKey) {
  test::TempFolder folder;
  test::WriteText(folder / "boot.xml", R"(<config>
  <node key="VellixControl" type="Collection">
    <node key="Hidden" type="Boolean">False</node>
  </node>
</config>)");
  test::WriteText(folder / "broken.xml", "<config><node key=\"a\">");
  auto root = NewTree();
  auto branch = std::static_pointer_cast<ConfigTreeNode>(NewFreeConfigNode());
  branch->GetNode("Kept", true, "String", "still here");
  EXPECT_FALSE(branch->LoadFile((folder / "missing.xml").string()));
  EXPECT_NE(branch->LastError().find("missing.xml"), std::string::npos);
  EXPECT_FALSE(branch->LoadFile((folder / "broken.xml").string()));
  EXPECT_FALSE(branch->LoadFile(folder.Path().string()));
  EXPECT_EQ(branch->GetValue("Kept"), Variant("still here"));
  // The caller joins the folder and the name with a backslash.
  ASSERT_TRUE(branch->LoadFile(folder.Path().string() + "\\boot.xml"));
  EXPECT_TRUE(branch->GetValue("Kept").IsEmpty());
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

}  // namespace
}  // namespace vellix
