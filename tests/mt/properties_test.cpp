#include <algorithm>
#include <chrono>
#include <random>

#include "player/src/util/mt/properties.hpp"
#include "test_support.hpp"

namespace {

// The container as "key=value;" pairs in its order, for compact comparisons.
std::string entries(const properties* p) {
  std::string text;
  for (int i = 0; i < p->count; ++i) text += std::string(p->keys[i]) + "=" + p->values[i] + ";";
  return text;
}

std::string saved(const properties* p) { return test::take_string(properties_save_to_buffer(p)); }

using test::captured_stdout;

}  // namespace

TEST(Properties, ParsesHardLines) {
  properties* p = test::properties_of(
      "  key  =  a = b  \r\n"
      "\r\n   \n# comment = no\n  #also = no\n=novalue\n   = blank key\nno equals sign\n"
      "empty =\n\tx\v=\f1\t\r\n"
      "key = replaced\n"
      "last=no newline");
  EXPECT_EQ("key = replaced\nempty = \nx = 1\nlast = no newline\n", saved(p));
  properties_free(p);

  for (bool with_index : {false, true}) {  // a repeated key keeps its first position
    properties* q = test::properties_of("a=1\nb=2\na=3\n", with_index);
    EXPECT_EQ("a=3;b=2;", entries(q));
    EXPECT_EQ(0, properties_find(q, "a"));
    properties_free(q);
  }
  std::string many;  // beyond a few entries, duplicates are found through a hash table
  for (int i = 0; i < 300; ++i) many += "k" + std::to_string(i % 100) + "=" + std::to_string(i) + "\n";
  p = test::properties_of(many.c_str());
  EXPECT_EQ(100, p->count);
  EXPECT_EQ("k7=207;", entries(p).substr(entries(p).find("k7=")).substr(0, 7));
  properties_free(p);
}

TEST(Properties, GettersConvertPresentValuesAndDefaultOnlyMissingOnes) {
  properties* p =
      test::properties_of("n = 12abc\nword = abc\nbig = 4294967297\nneg = -1\nll = -9000000000\nd = 2.5x\n");
  EXPECT_EQ(12, properties_get_int(p, "n", 7));
  EXPECT_EQ(0, properties_get_int(p, "word", 7));
  EXPECT_EQ(7, properties_get_int(p, "missing", 7));
  EXPECT_EQ(1u, properties_get_uint32_t(p, "big", 5));
  EXPECT_EQ(4294967295u, properties_get_uint32_t(p, "neg", 5));
  EXPECT_EQ(-9000000000LL, properties_get_long_long(p, "ll", 5));
  EXPECT_EQ(2.5, properties_get_double(p, "d", 1));
  EXPECT_STREQ("x", properties_get_str(p, "missing", "x"));
  EXPECT_EQ(nullptr, properties_get(p, "N"));  // keys are case-sensitive
  properties_free(p);
}

TEST(Properties, SettersReplaceInPlaceAndFormatNumbers) {
  properties* p = properties_create_empty();
  EXPECT_EQ(16, p->capacity);
  properties_set(p, "a", "1");
  properties_set_int(p, "i", -5);
  properties_set_long_long(p, "ll", 1LL << 40);
  properties_set_double(p, "d", 0.25);
  properties_set_seg(p, "seg", str_seg{"xyz", 2});
  properties_set_occupy(p, "a", strdup("2"));
  properties_set_occupy(p, "a", nullptr);
  EXPECT_EQ(0, properties_set_if_new(p, "a", "3"));  // an existing key, also at position 0
  EXPECT_EQ(0, properties_set_int_if_new(p, "a", 3));
  EXPECT_EQ(1, properties_set_if_new(p, "m", "x"));
  EXPECT_EQ(1, properties_set_int_if_new(p, "n", 4));
  EXPECT_EQ("a=2;i=-5;ll=1099511627776;d=0.250000;seg=xy;m=x;n=4;", entries(p));

  for (int i = 0; i < 10; ++i) {
    properties_force_add_last_int(p, "k", i);
    EXPECT_EQ(p->count <= 16 ? 16 : 25, p->capacity) << p->count;  // grown only when full: 16 * 1.5 + 1
  }
  properties_force_add_last_uint32_t(p, "u", 4294967295u);
  properties_force_add_last_seg_by_seg(p, str_seg{"qq", 1}, str_seg{"vv", 0});
  EXPECT_EQ("u=4294967295;q=;", entries(p).substr(entries(p).size() - 16));
  EXPECT_STREQ("0", properties_get(p, "k"));  // without index: the first "k"
  properties_create_index(p);
  EXPECT_STREQ("9", properties_get(p, "k"));  // with index: the last one added
  properties_build_from_buffer(p, "k = new\n");  // a parsed line replaces the entry that lookups find
  EXPECT_STREQ("new", properties_get(p, "k"));
  EXPECT_TRUE(properties_contains_key(p, "a") && !properties_contains_key(p, "K"));
  properties_free(p);
}

TEST(Properties, RemovalClosesTheGapAndLeavesIndexPositionsAsTheyWere) {
  for (bool with_index : {false, true}) {
    properties* p = test::properties_of("a=1\nb=2\nc=3\nd=4\n", with_index);
    EXPECT_EQ(1, properties_remove(p, "b"));
    EXPECT_EQ(0, properties_remove(p, "b"));
    EXPECT_EQ("a=1;c=3;d=4;", entries(p));
    EXPECT_STREQ("4", properties_get(p, "d"));  // lookups still find the moved entries
    EXPECT_EQ(1, properties_find(p, "c"));
    properties_set(p, "e", "5");
    EXPECT_EQ(3, properties_find(p, "e"));
    properties_free(p);
  }
}

TEST(Properties, EscapedValuesSurviveSaveAndLoad) {
  properties* p = properties_create_empty();
  const char* values[] = {"  two leading", "trailing ", "\"quoted\"", "\"\"", " ", "plain", "", "\"half", "a\"b"};
  for (size_t i = 0; i < sizeof values / sizeof *values; ++i) properties_set_escaped(p, std::to_string(i).c_str(), values[i]);
  properties_set_escaped(p, "null", nullptr);
  EXPECT_EQ("0 = \"  two leading\"\n1 = \"trailing \"\n2 = \"\"quoted\"\"\n3 = \"\"\"\"\n4 = \" \"\n5 = plain\n"
            "6 = \n7 = \"half\n8 = a\"b\n",
            saved(p));
  char* text = properties_save_to_buffer(p);
  properties* loaded = test::properties_of(text);
  free(text);
  for (int i = 0; i < loaded->count; ++i) {
    properties_unescape_value(loaded->values[i]);
    EXPECT_STREQ(values[i], loaded->values[i]);
  }
  EXPECT_EQ(2, properties_unescape_value_seg(str_seg{"\"ab", 3}).length);
  EXPECT_EQ(2, properties_unescape_value_seg(str_seg{"\"ab\"", 4}).length);
  EXPECT_EQ(2, properties_unescape_value_seg(str_seg{"\"\"", 2}).length);
  properties_free(p);
  properties_free(loaded);
}

TEST(Properties, CopiesCompareRegardlessOfOrder) {
  properties* a = test::properties_of("x=1\ny=2\n");
  properties* b = test::properties_of("y=2\nx=1\n", true);
  EXPECT_EQ(1, properties_equal(a, b));
  properties* copy = properties_copy(b);
  EXPECT_TRUE(copy->index != nullptr && entries(b) == entries(copy));
  properties_set(copy, "y", "3");
  EXPECT_EQ(0, properties_equal(a, copy));
  properties_set_all(a, copy);
  properties_set(a, "z", "");
  EXPECT_EQ(0, properties_equal(a, copy));  // one entry more
  EXPECT_EQ("t:\nx = 1\ny = 3\nz = \n", captured_stdout([&] { properties_dump(a, "t"); }));
  properties_free(a);
  properties_free(b);
  properties_free(copy);
  properties_free(nullptr);
}

TEST(Properties, AssertionsNameTheirArguments) {
  properties* p = properties_create_empty();
  EXPECT_DEATH(properties_equal(nullptr, p), "player/src/util/mt/properties:[0-9]+: properties_equal: Assertion `p1' failed");
  EXPECT_DEATH(properties_equal(p, nullptr), "Assertion `p2' failed");
  EXPECT_DEATH(properties_build_from_buffer(p, nullptr), "Assertion `data_buf' failed");
  EXPECT_DEATH(properties_save_to_opened_file(p, nullptr), "Assertion `fp' failed");
  EXPECT_DEATH(properties_force_add_last(nullptr, "k", "v"), "Assertion `p' failed");
  properties_free(p);
}

class PropertiesFiles : public test::SandboxTest {
 protected:
  std::string file(const char* name) { return sandbox.path(std::string("/") + name); }
};

TEST_F(PropertiesFiles, ReadingIsCappedAtOneMebibyteExceptForTheUnlimitedLoader) {
  std::string text;
  for (int i = 0; text.size() < 2 * 1048576; ++i) text += "key" + std::to_string(i) + " = value" + std::to_string(i) + "\n";
  test::write_file(file("big"), text);
  properties* capped = properties_create_empty();
  ASSERT_EQ(1, properties_build_from_internal_file(capped, file("big").c_str()));
  EXPECT_EQ(text.substr(0, 1048576) + "\n", saved(capped));  // cut inside a line: parsed as it stands

  properties* unlimited = properties_create_empty();
  ASSERT_EQ(1, properties_build_from_unlimited_size_internal_file(unlimited, file("big").c_str()));
  EXPECT_EQ(text, saved(unlimited));

  symlink(file("big").c_str(), file("link").c_str());
  EXPECT_EQ(0, properties_build_from_unlimited_size_internal_file(unlimited, file("link").c_str()));
  EXPECT_EQ(0, properties_build_from_internal_file(unlimited, file("missing").c_str()));
  EXPECT_EQ(0, properties_build_from_internal_file(unlimited, sandbox.root().c_str()));
  EXPECT_EQ(text, saved(unlimited));  // unchanged by the failures
  EXPECT_EQ(nullptr, properties_load_from_internal_file(file("missing").c_str()));
  test::write_file(file("empty"), "");
  properties* empty = properties_load_from_internal_file(file("empty").c_str());
  EXPECT_TRUE(empty != nullptr && empty->count == 0);
  for (properties* p : {capped, unlimited, empty}) properties_free(p);
}

TEST_F(PropertiesFiles, SavesReportFailuresAndLeaveThePreviousFile) {
  properties* p = test::properties_of("a = 1\nb = 2\n");
  std::string target = file("s.properties");
  EXPECT_EQ(0, properties_save_to_internal_file(p, target.c_str(), 0));
  EXPECT_EQ("a = 1\nb = 2\n", test::read_file(target));
  EXPECT_EQ(0, properties_safe_save_to_internal_file(p, target.c_str(), 0));
  EXPECT_EQ(0, properties_save_to_internal_file_using_tmp(p, "relative.properties", 0));
  EXPECT_EQ("a = 1\nb = 2\n", test::read_file("relative.properties"));
  unlink("relative.properties");

  std::string missing_dir = file("no/dir/x");
  EXPECT_EQ("Error: failed to save properties to file '" + missing_dir + "': No such file or directory\n",
            captured_stdout([&] { EXPECT_EQ(-1, properties_save_to_internal_file(p, missing_dir.c_str(), 0)); }));
  EXPECT_EQ("Error: failed to save properties to file '" + missing_dir + ".tmp': No such file or directory\n",
            captured_stdout([&] { EXPECT_EQ(-1, properties_safe_save_to_internal_file(p, missing_dir.c_str(), 0)); }));
  EXPECT_EQ("", captured_stdout([&] { EXPECT_EQ(-1, properties_save_to_internal_file_using_tmp(p, missing_dir.c_str(), 1)); }));

  test::make_dirs(file("occupied/sub"));  // a non-empty directory cannot be replaced by a file
  std::string occupied = file("occupied");
  EXPECT_EQ("Error: failed to move '" + occupied + ".tmp' to '" + occupied + "': Is a directory\n",
            captured_stdout([&] { EXPECT_EQ(-1, properties_save_to_internal_file_using_tmp(p, occupied.c_str(), 0)); }));
  EXPECT_NE(0, access((occupied + ".tmp").c_str(), F_OK));
  properties_free(p);
}

TEST_F(PropertiesFiles, SaveIfChangedPrintsTheChangeLogAndSkipsUnchangedFiles) {
  std::string target = file("c.properties");
  properties* p = test::properties_of("a = 1\nb = 2\n");
  EXPECT_EQ("Saving C. Changes:\nnew: a = 1\nnew: b = 2\n", captured_stdout([&] {
              EXPECT_EQ(1, properties_save_to_internal_file_using_tmp_if_changed(p, target.c_str(), 0, "C"));
            }));
  struct stat before, after;
  stat(target.c_str(), &before);
  properties* reordered = test::properties_of("b = 2\na = 1\n");
  EXPECT_EQ("Saving C: no changes found.\n", captured_stdout([&] {
              EXPECT_EQ(0, properties_save_to_internal_file_using_tmp_if_changed(reordered, target.c_str(), 0, "C"));
            }));
  stat(target.c_str(), &after);
  EXPECT_EQ(before.st_ino, after.st_ino);
  EXPECT_EQ(before.st_mtim.tv_nsec, after.st_mtim.tv_nsec);

  properties_set(p, "a", "9");
  properties_remove(p, "b");
  properties_set(p, "c", "3");
  EXPECT_EQ("Saving C. Changes:\nold: a = 1\nold: b = 2\nnew: a = 9\nnew: c = 3\n", captured_stdout([&] {
              EXPECT_EQ(1, properties_save_to_internal_file_using_tmp_if_changed(p, target.c_str(), 0, "C"));
            }));
  EXPECT_EQ("a = 9\nc = 3\n", test::read_file(target));
  EXPECT_EQ("", captured_stdout([&] {
              EXPECT_EQ(0, properties_save_to_internal_file_using_tmp_if_changed(p, target.c_str(), 1, "C"));
            }));
  properties_free(p);
  properties_free(reordered);
}

// A writer killed at any moment leaves the old or the new file, and readers never see a mix.
TEST_F(PropertiesFiles, AtomicSaveSurvivesKillsAtRandomMoments) {
  std::string target = file("state.properties");
  properties* versions[2] = {properties_create_empty(), properties_create_empty()};
  for (int i = 0; i < 3000; ++i) {
    for (int v = 0; v < 2; ++v) {
      properties_force_add_last(versions[v], ("list." + std::to_string(i)).c_str(),
                                (std::string(40, 'a' + v) + std::to_string(i)).c_str());
    }
  }
  std::string texts[2] = {saved(versions[0]), saved(versions[1])};
  ASSERT_EQ(0, properties_save_to_internal_file_using_tmp(versions[0], target.c_str(), 0));
  std::mt19937 random(12345);
  int seen[2] = {0, 0};
  auto check = [&] {
    std::string text = test::read_file(target);
    bool whole = text == texts[0] || text == texts[1];
    EXPECT_TRUE(whole) << "a reader saw " << text.size() << " bytes";
    if (whole) seen[text == texts[1]]++;
    return whole;
  };
  // Rounds for about two seconds; the kill window grows while no save completes within it, as
  // on a loaded machine or under ThreadSanitizer, so that both versions are always seen.
  auto start = std::chrono::steady_clock::now();
  long window_us = 8000;
  for (int round = 0; round < 150; ++round) {
    auto now = std::chrono::steady_clock::now();
    if ((now > start + std::chrono::seconds(2) && seen[1] > 0) || now > start + std::chrono::seconds(60)) break;
    pid_t child = fork();
    ASSERT_LE(0, child);
    if (child == 0) {
      // Every atomic save: plain, synchronised and if-changed, each starting wherever the
      // previous kill left the temporary file.
      for (int n = 0;; n ^= 1) {
        switch (random() % 3) {
          case 0: properties_save_to_internal_file_using_tmp(versions[n], target.c_str(), 1); break;
          case 1: properties_safe_save_to_internal_file(versions[n], target.c_str(), 1); break;
          default: properties_save_to_internal_file_using_tmp_if_changed(versions[n], target.c_str(), 1, nullptr);
        }
      }
    }
    auto kill_at = std::chrono::steady_clock::now() + std::chrono::microseconds(random() % window_us);
    bool ok = true;
    while (ok && std::chrono::steady_clock::now() < kill_at) ok = check();
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    if (!ok || !check()) break;
    if (seen[1] == 0) window_us = std::min(window_us * 2, 2000000L);
  }
  EXPECT_LT(0, seen[0]);
  EXPECT_LT(0, seen[1]);
  EXPECT_EQ(0, properties_safe_save_to_internal_file(versions[1], target.c_str(), 1));
  EXPECT_EQ(texts[1], test::read_file(target));
  EXPECT_NE(0, access((target + ".tmp").c_str(), F_OK));
  for (properties* p : versions) properties_free(p);
}

// Whatever sits at "FILE.tmp" (a link planted to redirect the write, a leftover of a killed
// save, a file of another mode) plays no part in the save, and the saved file keeps the mode
// and owner of the one it replaces.
TEST_F(PropertiesFiles, AtomicSavesIgnoreWhatIsAtTheTemporaryNameAndKeepModeAndOwner) {
  properties* p = test::properties_of("password = secret\n");
  std::string target = file("s.properties"), victim = file("victim");
  using Save = int (*)(const properties*, const char*, int);
  for (Save save : {Save(properties_save_to_internal_file_using_tmp), Save(properties_safe_save_to_internal_file)}) {
    test::write_file(victim, "untouched\n");
    test::write_file(target, "old = 1\n");
    chmod(target.c_str(), 0600);
    ASSERT_EQ(0, symlink(victim.c_str(), (target + ".tmp").c_str()));
    ASSERT_EQ(0, save(p, target.c_str(), 1));
    EXPECT_EQ("untouched\n", test::read_file(victim));
    struct stat st;
    ASSERT_EQ(0, lstat(target.c_str(), &st));
    EXPECT_TRUE(S_ISREG(st.st_mode));
    EXPECT_EQ(0600u, st.st_mode & 07777);
    EXPECT_EQ("password = secret\n", test::read_file(target));
    EXPECT_NE(0, access((target + ".tmp").c_str(), F_OK));
  }
  test::write_file(target + ".tmp", "half a fi");  // a leftover of a killed save
  chmod(target.c_str(), 0640);
  ASSERT_EQ(0, chown(target.c_str(), getuid(), getuid() == 0 ? 65534 : getgid()));
  properties_set(p, "user", "me");
  EXPECT_EQ(1, properties_save_to_internal_file_using_tmp_if_changed(p, target.c_str(), 1, "S"));
  struct stat st;
  ASSERT_EQ(0, stat(target.c_str(), &st));
  EXPECT_EQ(0640u, st.st_mode & 07777);
  EXPECT_EQ(getuid() == 0 ? 65534u : getgid(), st.st_gid);
  EXPECT_EQ("password = secret\nuser = me\n", test::read_file(target));
  properties_free(p);
}

TEST_F(PropertiesFiles, ToolGetsSetsDeletesDumpsAndDiffs) {
  std::string f = file("t.properties"), g = file("g.properties"), created = file("new");
  test::write_file(f, "# settings\na = 1\nb =  two  words \n");
  test::write_file(g, "c = \" x y\"\nb = 2\n");
  test::expect_tool({{"props get " + f + " b", 0, "two  words\n", true},
                     {"props get " + f + " c", 1, "vonautil props: no key 'c' in '" + f + "'\n", true},
                     {"props set " + f + " c ' x' y", 0, "Saving " + f + ". Changes:\nnew: c = \" x y\"\n", true},
                     {"props set " + f + " a 1", 0, "Saving " + f + ": no changes found.\n", true},
                     {"props del " + f + " a", 0, ""},
                     {"props dump " + f, 0, f + ":\nb = two  words\nc = \" x y\"\n", true},
                     {"props diff " + f + " " + g, 1, "old: b = two  words\nnew: b = 2\n", true},
                     {"props set " + created + " k v", 1, "cannot read '" + created + "': No such file or directory\n"},
                     {"props set --create " + created + " k v", 0, ""}});
  EXPECT_EQ("k = v\n", test::read_file(created));
  for (const char* bad : {"props", "props get", "props frob x", "props set x '#k' v", "props set x ' k' v",
                          "props set x k", "props diff x"}) {
    EXPECT_EQ(2, test::run_tool(bad)) << bad;
  }
  // A failed save says why on standard error: a write beyond the file size limit, a
  // directory in the way of the rename.
  test::write_file(g, "k = v\n");
  test::make_dirs(file("d.tmp"));
  std::string limited = "version >/dev/null; trap '' XFSZ; ulimit -f 0; exec " VONAUTIL_TOOL " props set " + g;
  test::expect_tool({{limited + " k w", 1, "vonautil props: cannot save '" + g + "': File too large\n"},
                     {"props set --create " + file("d") + " k v", 1,
                      "cannot save '" + file("d") + "': Is a directory\n"}});
  EXPECT_EQ("k = v\n", test::read_file(g));
  test::write_file(g, std::string(1048577, '#'));
  EXPECT_EQ(1, test::run_tool("props set " + g + " k v"));
  EXPECT_EQ(1048577u, test::read_file(g).size());
}
