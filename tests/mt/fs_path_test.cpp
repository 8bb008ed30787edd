#include "test_support.hpp"

TEST(FsPath, StacksJoinedAndTopLevelFolders) {
  fs_path* stack = fs_path_create("/tmp/mnt/D", "storage://D");
  EXPECT_STREQ("/tmp/mnt/D", fs_path_top(stack));
  EXPECT_STREQ("storage://D", fs_path_top_public(stack));

  EXPECT_STREQ("storage://D/Music", fs_path_push(stack, "Music"));
  EXPECT_STREQ("/tmp/mnt/D/Music", fs_path_top(stack));
  EXPECT_STREQ("Music", fs_path_top_name(stack));
  EXPECT_STREQ("/tmp/mnt/D", fs_path_top_parent(stack));
  EXPECT_STREQ("storage://D", fs_path_top_parent_public(stack));

  fs_path_push(stack, "Rock");
  EXPECT_STREQ("/tmp/mnt/D/Music", fs_path_top_parent(stack));
  EXPECT_STREQ("storage://D/Music", fs_path_top_parent_public(stack));

  // A top-level item keeps its paths as given; its name is the basename, trailing slash and all.
  EXPECT_STREQ("smb://h/share", fs_path_push_top_level(stack, "/tmp/net/share/", "smb://h/share"));
  EXPECT_STREQ("share/", fs_path_top_name(stack));
  EXPECT_STREQ("/tmp/net/share/", fs_path_top(stack));

  // The copy is rebuilt from the names alone, so the top-level item becomes a joined one.
  fs_path* copy = fs_path_copy(stack);
  EXPECT_EQ(3, copy->size);
  EXPECT_STREQ("/tmp/mnt/D/Music/Rock/share/", fs_path_top(copy));
  EXPECT_STREQ("storage://D/Music/Rock/share/", fs_path_top_public(copy));
  fs_path_free(copy);

  fs_path_pop(stack);
  EXPECT_STREQ("/tmp/mnt/D/Music/Rock", fs_path_top(stack));
  fs_path_pop(stack);
  fs_path_pop(stack);
  EXPECT_STREQ("/tmp/mnt/D", fs_path_top(stack));
  fs_path_free(stack);
  fs_path_free(nullptr);

  fs_path* root = fs_path_create_public("");
  EXPECT_STREQ("/x", fs_path_push(root, "x"));  // an empty base joins as "/"
  EXPECT_STREQ("/x", fs_path_top(root));
  fs_path_free(root);
}

TEST(FsPath, HoldsAThousandLevelsAndAssertsOnMisuse) {
  fs_path* stack = fs_path_create_public("/");
  for (int i = 0; i < FS_PATH_MAX_ITEMS; ++i) fs_path_push(stack, "d");
  EXPECT_EQ(FS_PATH_MAX_ITEMS, stack->size);
  std::string deepest;
  for (int i = 0; i < FS_PATH_MAX_ITEMS; ++i) deepest += "/d";
  EXPECT_EQ(deepest, fs_path_top(stack));
  EXPECT_DEATH(fs_path_push(stack, "d"),
               "^player/src/util/mt/fs_path:[0-9]+: fs_path_push: Assertion `fs_path->size < FS_PATH_MAX_ITEMS' failed");
  fs_path_free(stack);

  fs_path* empty = fs_path_create("/base", "pub");
  EXPECT_DEATH(fs_path_pop(empty), "fs_path_pop: Assertion `fs_path->size > 0' failed");
  EXPECT_DEATH(fs_path_top_name(empty), "fs_path_top_name: Assertion `fs_path->size > 0' failed");
  fs_path_free(empty);
  EXPECT_DEATH(fs_path_create(nullptr, "p"), "fs_path_create: Assertion `base_path' failed");
  EXPECT_DEATH(fs_path_create("p", nullptr), "fs_path_create: Assertion `base_public_path' failed");
}
