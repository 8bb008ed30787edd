#include "player/src/util/mt/translation.hpp"
#include "test_support.hpp"

using test::captured_stderr;

namespace {

class Translation : public test::SandboxTest {
 protected:
  std::string file(const std::string& content, const std::string& name = "t.txt") {
    test::write_file(sandbox.path("/" + name), content);
    return sandbox.path("/" + name);
  }
  // The messages of a check against `reference` (format alone when null), one "KIND text" a line.
  std::string analyze(const std::string& content, const translation* reference = nullptr) {
    message_list* list = T_analyze_translation(reference, file(content, "checked.txt").c_str(), 1);
    std::string text;
    for (int i = 0; list && i < list->count; ++i) text += std::to_string(list->entries[i].kind) + " " + list->entries[i].text + "\n";
    ML_free_message_list(list);
    return text;
  }
  translation* load(const std::string& content) { return T_load_translation(file(content).c_str(), 1); }
};

std::string get(const translation* t, const std::string& key) {
  const char* value = T_get_value(t, key.c_str());
  return value ? value : "(null)";
}

// The entries of a file in file order, "key=value|", "@" after texts not translated yet.
int collect(const char* key, const char* value, int not_translated, void* user) {
  *static_cast<std::string*>(user) += std::string(key) + "=" + value + (not_translated ? "@|" : "|");
  return std::string(key) == "stop" ? 7 : 0;
}

}  // namespace

TEST_F(Translation, EveryFormatErrorIsReportedWithItsLineAndFailsLoadingAndIterating) {
  const struct { std::string content, messages; } cases[] = {
      {"", "3 Language file does not contain any keys.\n"},
      {"\xEF", "4 Incorrect language file: missing 2nd byte of the Byte Order Mark.\n"},
      {"\xEF\x41", "4 Incorrect language file: wrong 2nd byte of the Byte Order Mark.\n"},
      {"\xEF\xBB", "4 Incorrect language file: missing 3rd byte of the Byte Order Mark.\n"},
      {"\xEF\xBB\x41 = x", "4 Incorrect language file: wrong 3rd byte of the Byte Order Mark.\n"},
      {"ok = 1\n9key = x\n", "4 Line 2: Invalid key first char: '57'.\n"},
      {"\n\n" + std::string(1000, 'k') + " = x\n", "4 Line 3: Key length exceeds 1000 chars.\n"},
      {"My_title = x\n=x\n\tk = x\n@\n" + std::string(65, 'N') + "_plugin_x = y\n_x_plugin_A = y\n",
       "4 Line 1: Invalid char 'M' in a key.\n4 Line 2: Invalid char '=' in a key.\n4 Line 3: Invalid char #9 in a key.\n"
       "4 Line 4: Invalid char #10 in a key.\n4 Line 5: Invalid char 'N' in a key.\n4 Line 6: Invalid char 'A' in a key.\n"},
      {"key  ", "4 Unexpected end of file.\n"},
      {"key: x\nkey\n= x\n",
       "4 Line 1: '=' expected, ':' found.\n4 Line 2: '=' expected, #10 found.\n4 Line 3: Invalid char '=' in a key.\n"},
      {"a = one \\\n   two\nb = x\ty\nc = \\\n\n x\r\n",
       "4 Line 3: Invalid char #9 in a value for key 'b'.\n4 Line 6: Invalid char #13 in a value for key 'c'.\n"},
      {"v = " + std::string(1000, 'x') + "\n", "4 Line 1: Value length exceeds 1000 chars.\n"},
      {"a__x = y\na__2x = %s%s\nb__101 = x\n", "4 Key \"a__x\": Unable to read the number after \"__\".\n"
       "4 Key \"a__2x\": Unable to read the number after \"__\".\n4 Key \"b__101\": The number after \"__\" is too big.\n"},
      {"p = %{name\nq = %{} %s\nr = %{a-b}\n", "4 Key \"p\": '}' is missing in the value.\n"
       "4 Key \"q\": parameter name is missing in the value.\n4 Key \"r\": invalid parameter name in the value.\n"},
      {"a = 100%\nd = %d\n", "4 Key \"a\": Only \"%\", \"%{param-name}\" and \"%s\" are allowed in the value.\n"
       "4 Key \"d\": Only \"%\", \"%{param-name}\" and \"%s\" are allowed in the value.\n"},
      {"k = %s and %s\na__2 = %s alone\n", "4 Key \"k\": No \"%s\" are allowed by the key name, but 2 found.\n"
       "4 Key \"a__2\": Wrong number of \"%s\": 1 instead of 2.\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.content.substr(0, 40));
    EXPECT_EQ(c.messages, analyze(c.content));
    std::string path = file(c.content), first = c.messages.substr(2, c.messages.find('\n') - 1), walked;
    EXPECT_NE(std::string::npos, captured_stderr([&] { EXPECT_EQ(nullptr, T_load_translation(path.c_str(), 1)); }).find(first));
    EXPECT_EQ(first, captured_stderr([&] { EXPECT_EQ(1, T_iterate_translation_file(path.c_str(), collect, &walked)); }));
  }
}

TEST_F(Translation, LoadsValuesKeysAndPlaceholdersThatFollowTheRules) {
  const std::string name64(64, 'N'), key999(999, 'k'), value999(999, 'v');
  std::string args100;
  for (int i = 0; i < 100; ++i) args100 += "%s";
  std::string path = file("\xEF\xBB\xBF# comment = no\n   \n  title = Hello   \n@not_yet = Noch nicht\nlines = one\\ntwo\n"
                          "joined = a \\\n   b\nescaped = back\\\\slash \\q\\\n  n\nempty =\na__2 = %s and %s\nb__0 = %d\n"
                          "c__ = %x\npct = 100%% of %{count_1}\nMy_plugin_title = x\n" + name64 + "_plugin_x.y-Z = long\n"
                          "x_plugin_ = plain\n" + key999 + " = " + value999 + "\nn__100 = " + args100 + "\nlast=no newline");
  std::string walked;
  EXPECT_EQ(0, T_iterate_translation_file(path.c_str(), collect, &walked));
  EXPECT_EQ("title=Hello|not_yet=Noch nicht@|lines=one\ntwo|joined=a b|escaped=back\\slash qn|empty=|a__2=%s and %s|"
            "b__0=%d|c__=%x|pct=100%% of %{count_1}|My_plugin_title=x|" + name64 + "_plugin_x.y-Z=long|x_plugin_=plain|" +
            key999 + "=" + value999 + "|n__100=" + args100 + "|last=no newline|", walked);
  translation* t = T_load_translation(path.c_str(), 1);
  ASSERT_NE(nullptr, t);
  EXPECT_EQ(value999, get(t, key999));
  EXPECT_EQ("(null)", get(t, "missing"));
  EXPECT_EQ(nullptr, T_get_value(nullptr, "title"));
  EXPECT_EQ(16, t->statistics.entries);
  EXPECT_EQ(1, t->statistics.not_translated);
  T_test_value_retrieval(t);
  T_free_translation(t);
  t = load("# only comments\n\n");
  EXPECT_NE(nullptr, t);
  T_free_translation(t);
}

TEST_F(Translation, TableHashOrderAndStatistics) {
  const char* keys[] = {"a", "ba", "aaaaaaaaaa", "zzzzzzzzzz\xff"};  // the shift starts again at the tenth byte
  const unsigned int buckets[] = {97, 160, 446, 594};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(buckets[i], vona::translation_hash(keys[i])) << keys[i];

  std::string path = file("agb = 3\nba = 2\naaa = 1\n@a = 0\naec = 4\n");
  translation* t = nullptr;
  std::string printed = captured_stderr([&] { t = T_load_translation(path.c_str(), 0); });
  ASSERT_NE(nullptr, t);
  EXPECT_EQ("Text Manager:\n    Loading translation from file: \"" + path + "\".\n    Settings: HASH_CODE_BITS: 12, "
            "LIMIT_BITS_TO_SHIFT: 9.\n    Memory allocated for the hash table: " + std::to_string(sizeof t->buckets) +
            " bytes.\n    Hash status: 5 entries, 1 non-translated, 3 collisions (%60). Max row entries: 3.\n", printed);
  std::string visited;  // buckets 97, 160, then 295 in insertion order
  T_iterate_translation_entries(t, [](void* user, char** key, char** value, int count) {
    *static_cast<std::string*>(user) += std::string(*key) + "=" + *value + "/" + std::to_string(count) + " ";
  }, &visited);
  EXPECT_EQ("a=0/1 ba=2/1 agb=3/3 aaa=1/3 aec=4/3 ", visited);

  translation* copy = T_copy_translation(t);
  T_free_translation(t);
  EXPECT_EQ("1", get(copy, "aaa"));
  T_test_value_retrieval(copy);
  // An entry whose key no longer leads to it fails the self-check.
  T_iterate_translation_entries(copy, [](void*, char** key, char**, int) { (*key)[0] = (*key)[0] == 'b' ? 'c' : (*key)[0]; }, nullptr);
  EXPECT_DEATH(T_test_value_retrieval(copy),
               test::assertion_report("player/src/util/mt/translation", 0, "T_test_value_retrieval", "value == entry->value"));
  T_free_translation(copy);
  EXPECT_EQ(nullptr, T_copy_translation(nullptr));
  EXPECT_DEATH(T_get_all_keys(nullptr), "Assertion `translation != NULL' failed");
  printed = captured_stderr([&] { EXPECT_EQ(nullptr, T_load_translation(sandbox.path("/none").c_str(), 1)); });
  EXPECT_EQ("Unable to open translation file: No such file or directory\n", printed);
}

TEST_F(Translation, AppendReplaceAndDuplicateKeys) {
  std::string twice = file("k = first\nk = second\n", "twice.txt");
  EXPECT_EQ("ERROR: Duplicate key \"k\".\n", captured_stderr([&] { EXPECT_EQ(nullptr, T_load_translation(twice.c_str(), 1)); }));

  translation* t = load("title = Title\nk = old\n");
  std::string plugin = file("title = Radio\nbad = 50%\n@name = Name\n", "radio.txt");
  EXPECT_EQ("Text Manager: appending translation from file: '" + plugin + "' prefix 'Radio_plugin_'.\n"
            "Key \"bad\": Only \"%\", \"%{param-name}\" and \"%s\" are allowed in the value.\n",
            captured_stderr([&] { T_append_translation(t, plugin.c_str(), "Radio_plugin_"); }));
  EXPECT_EQ("Radio Title (null) 1", get(t, "Radio_plugin_title") + " " + get(t, "title") + " " + get(t, "Radio_plugin_bad") +
                                        " " + std::to_string(t->statistics.not_translated));
  T_append_translation(t, twice.c_str(), "");  // present keys keep their value
  EXPECT_EQ("old", get(t, "k"));
  std::string key990(990, 'z');
  T_append_translation(t, file(key990 + " = long\n", "long.txt").c_str(), "123456789");  // 999 characters
  T_append_translation(t, file(key990 + " = longer\n", "long.txt").c_str(), "0123456789");  // 1000: no prefix
  EXPECT_EQ("long longer", get(t, "123456789" + key990) + " " + get(t, key990));
  EXPECT_EQ("", captured_stderr([&] { T_append_translation(t, sandbox.path("/none").c_str(), "x"); }));

  EXPECT_EQ("Text Manager:\n    Replacing translation from file: \"" + twice + "\".\n",
            captured_stderr([&] { T_replace_translation(t, twice.c_str(), 1); }));
  EXPECT_EQ("second", get(t, "k"));  // the last of the file wins
  std::string more = file("title = New\nfresh = yes\n", "more.txt");
  T_replace_translation(t, more.c_str(), 1);
  EXPECT_EQ("New (null)", get(t, "title") + " " + get(t, "fresh"));
  T_replace_translation(t, more.c_str(), 0);
  EXPECT_EQ("yes", get(t, "fresh"));
  T_test_value_retrieval(t);
  EXPECT_NE(std::string::npos, captured_stderr([&] { T_replace_translation(t, sandbox.path("/none").c_str(), 0); })
                                   .find("Unable to open translation file: No such file or directory\n"));
  T_free_translation(t);
}

TEST_F(Translation, AnalysisAgainstAReferenceAndIteration) {
  translation* reference = load("title = Title\nok__1 = %s ok\ncount = Count\nlast = Last\n");
  ASSERT_NE(nullptr, reference);
  EXPECT_EQ("2 Duplicate key found: \"title\".\n4 Key \"ok__1\": Wrong number of \"%s\": 0 instead of 1.\n"
            "0 Unknown key found: \"extra\".\n4 Line 5: '=' expected, '!' found.\n"
            "1 Key \"last\" is missing.\n1 Key \"count\" is missing.\n",  // in bucket order
            analyze("title = Titel\ntitle = Titel\nok__1 = no arg\nextra = x\nbad!\nTv_plugin_x = y\n", reference));
  EXPECT_EQ("3 Language file does not contain any keys.\n", analyze("", reference));
  EXPECT_EQ(nullptr, T_analyze_translation(reference, sandbox.path("/none").c_str(), 1));
  T_free_translation(reference);

  std::string walked, none = sandbox.path("/none");
  EXPECT_EQ(7, T_iterate_translation_file(file("a = 1\n@b = 2\nstop = 3\nc = 4\n").c_str(), collect, &walked));
  EXPECT_EQ("a=1|b=2@|stop=3|", walked);
  EXPECT_EQ("Unable to open translation file '" + none + "': No such file or directory\n",
            captured_stderr([&] { EXPECT_EQ(1, T_iterate_translation_file(none.c_str(), collect, &walked)); }));
}

TEST_F(Translation, ToolChecksGetsAndCounts) {
  std::string english = file("title = Title\nsize__1 = %s MB\n", "en.txt");
  std::string german = file("title = Titel\nsize__1 = MB\n\nextra = x\n", "de.txt"), none = sandbox.path("/none");
  test::expect_tool({
      {"translation check " + english, 0, ": no problems"},
      {"translation check " + german + " --reference " + english, 1,
       german + ":2: Key \"size__1\": Wrong number of \"%s\": 0 instead of 1.\n" + german +
           ":4: Unknown key found: \"extra\".\n" + german + ": 1 error, 1 warning\n", true},
      {"translation get " + english + " title size__1", 0, "Title\n%s MB\n", true},
      {"translation stats " + english, 0, "entries: 2\nnot translated: 0\ncollisions: 0 (0%)\nlongest bucket: 1\n", true},
      {"translation get " + english + " nope", 1, ""}, {"translation stats " + none, 1, ""},
      {"translation check", 2, ""}, {"translation frob x", 2, ""},
  });
}
