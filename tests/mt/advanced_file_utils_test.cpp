#include "player/src/util/mt/advanced_file_utils.h"

#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <set>

#include "player/src/util/mt/file_utils.h"
#include "test_support.hpp"

namespace {

using Visits = std::vector<std::string>;

// Records the visits as paths relative to the root ("." for the root, "!" before an error
// visit) and answers from a script (FS_VISIT_CONTINUE by default).
struct Recorder {
  explicit Recorder(const std::string& walk_root) : root(walk_root) {}
  std::string root;
  Visits visits;
  std::map<std::string, int> answers;

  static int visit(const char* path, const struct stat* status, void* context) {
    Recorder* self = static_cast<Recorder*>(context);
    std::string name = path == self->root ? "." : std::string(path).substr(self->root.size() + 1);
    self->visits.push_back(status ? name : "!" + name);
    auto answer = self->answers.find(self->visits.back());
    return answer == self->answers.end() ? FS_VISIT_CONTINUE : answer->second;
  }
  int walk(unsigned int flags) {
    visits.clear();
    return FS_iterate_recursively(root.c_str(), flags, visit, this);
  }
};

std::vector<std::string> listing(const std::string& dir) {
  std::vector<std::string> names;
  if (DIR* stream = opendir(dir.c_str())) {
    while (struct dirent* entry = readdir(stream)) {
      if (strcmp(entry->d_name, ".") && strcmp(entry->d_name, "..")) names.push_back(entry->d_name);
    }
    closedir(stream);
  }
  return names;
}

// The visit order of a walk without failures, worked out with plain readdir.
Visits expected(const std::string& root, bool pre_order, bool follow, const std::string& name = ".") {
  struct stat status;
  std::string path = name == "." ? root : root + "/" + name;
  if ((follow ? stat(path.c_str(), &status) : lstat(path.c_str(), &status)) != 0) return {};
  Visits out;
  if (pre_order || !S_ISDIR(status.st_mode)) out.push_back(name);
  for (const std::string& child : S_ISDIR(status.st_mode) ? listing(path) : Visits{}) {
    Visits below = expected(root, pre_order, follow, name == "." ? child : name + "/" + child);
    out.insert(out.end(), below.begin(), below.end());
  }
  if (!pre_order && S_ISDIR(status.st_mode)) out.push_back(name);
  return out;
}

// Per relative path: the type, the permission bits and the content or link target.
std::map<std::string, std::string> snapshot(const std::string& root, const std::string& name = "") {
  std::map<std::string, std::string> entries;
  for (const std::string& child : listing(root + name)) {
    std::string rel = name + "/" + child, path = root + rel;
    struct stat status;
    lstat(path.c_str(), &status);
    char target[256] = "", mode[8];
    snprintf(mode, sizeof mode, "%04o ", (unsigned)(status.st_mode & 07777));
    if (S_ISLNK(status.st_mode)) {
      entries[rel] = "link " + std::string(target, std::max<ssize_t>(0, readlink(path.c_str(), target, 255)));
    } else if (S_ISDIR(status.st_mode)) {
      entries[rel] = std::string("dir ") + mode;
      entries.merge(snapshot(root, rel));
    } else {
      entries[rel] = S_ISREG(status.st_mode) ? "file " + (mode + test::read_file(path)) : std::string("other ") + mode;
    }
  }
  return entries;
}

bool logged(const std::string& log, const std::string& line) { return log.find(line + "\n") != std::string::npos; }

class AdvancedFileUtilsTest : public test::SandboxTest {
 protected:
  std::string at(const std::string& name) const { return sandbox.root() + "/" + name; }

  // a/x, a/y/ (empty), b, fifo, link_dir -> a, dangling -> missing; in `mode`, files and
  // directories of several permissions and a file larger than two copy buffers.
  std::string make_tree(const std::string& name, bool with_modes = false) {
    std::string root = at(name);
    test::make_dirs(root + "/a/y");
    test::write_file(root + "/a/x", "x");
    test::write_file(root + "/b", std::string(with_modes ? 300000 : 1, 'b'));
    mkfifo((root + "/fifo").c_str(), 0600);
    symlink("a", (root + "/link_dir").c_str());
    symlink("missing", (root + "/dangling").c_str());
    if (with_modes) {
      chmod((root + "/a").c_str(), 0750);
      chmod((root + "/a/y").c_str(), 0700);
      chmod((root + "/b").c_str(), 04755);
      chmod((root + "/a/x").c_str(), 0640);
    }
    return root;
  }
};

TEST_F(AdvancedFileUtilsTest, WalkOrdersSkipsAndCancels) {
  Recorder recorder(make_tree("tree"));
  EXPECT_EQ(recorder.walk(0), 0);
  EXPECT_EQ(recorder.visits, expected(recorder.root, false, false));
  EXPECT_EQ(recorder.visits.size(), 8u);  // links are entries, not walked
  EXPECT_EQ(recorder.walk(FS_ITER_PRE_ORDER), 0);
  EXPECT_EQ(recorder.visits, expected(recorder.root, true, false));

  recorder.answers = {{"a", FS_VISIT_SKIP_CHILDREN}};
  EXPECT_EQ(recorder.walk(FS_ITER_PRE_ORDER), 0);
  EXPECT_EQ(std::count_if(recorder.visits.begin(), recorder.visits.end(),
                          [](const std::string& v) { return v.rfind("a/", 0) == 0; }),
            0);
  recorder.answers = {{"a/x", FS_VISIT_CANCEL}};
  for (unsigned int flags : {0u, (unsigned)FS_ITER_PRE_ORDER, (unsigned)FS_ITER_CONTINUE_ON_ERROR}) {
    std::string log = test::captured_stderr([&] { EXPECT_EQ(recorder.walk(flags), -1); });
    EXPECT_EQ(recorder.visits.back(), "a/x");
    // Only a post-order visit says that it cancelled.
    EXPECT_EQ(logged(log, "[fs_iter] visit(" + recorder.root + "/a/x): canceled"), !(flags & FS_ITER_PRE_ORDER));
  }
  // The start path: a link is one entry unless followed.
  recorder.root += "/link_dir";
  EXPECT_EQ(recorder.walk(0), 0);
  EXPECT_EQ(recorder.visits, Visits{"."});
  EXPECT_EQ(recorder.walk(FS_ITER_FOLLOW_LINKS), 0);
  EXPECT_EQ(recorder.visits.size(), 3u);
}

TEST_F(AdvancedFileUtilsTest, WalkErrorsAreLoggedPassedOverOrVisited) {
  test::write_file(at("file"), "x");
  for (int error : {ENOENT, ENOTDIR, ENAMETOOLONG}) {
    std::string path = at(error == ENOENT ? "missing" : error == ENOTDIR ? "file/below" : std::string(300, 'n'));
    Recorder recorder(path);
    std::string log = test::captured_stderr([&] { EXPECT_EQ(recorder.walk(0), 0) << path; });
    EXPECT_TRUE(logged(log, "[fs_iter] lstat(" + path + "): " + strerror(error)));  // and otherwise passed over
    const int answers[][2] = {
        {FS_VISIT_CONTINUE, 0}, {FS_VISIT_SKIP_CHILDREN, 0}, {FS_VISIT_ERROR, 1}, {FS_VISIT_CANCEL, 1}};
    for (const auto& answer : answers) {
      recorder.answers["!."] = answer[0];
      log = test::captured_stderr([&] { EXPECT_EQ(recorder.walk(FS_ITER_VISIT_ERRORS), answer[1]) << path; });
      EXPECT_EQ(logged(log, "[fs_iter] visit(" + path + "): canceled on error"), answer[0] == FS_VISIT_CANCEL);
      EXPECT_EQ(recorder.visits, Visits{"!."});
    }
  }

  // Following links below the start: a dangling link cannot be examined.
  Recorder recorder(make_tree("tree"));
  const unsigned int follow = FS_ITER_FOLLOW_LINKS_BELOW, errors = FS_ITER_VISIT_ERRORS;
  std::string log = test::captured_stderr([&] { EXPECT_EQ(recorder.walk(follow), 0); });
  EXPECT_TRUE(logged(log, "[fs_iter] stat(" + recorder.root + "/dangling): No such file or directory"));
  EXPECT_EQ(recorder.visits, expected(recorder.root, false, true));
  EXPECT_EQ(recorder.visits.size(), 9u);  // link_dir/x and link_dir/y walked
  EXPECT_EQ(recorder.walk(follow | errors), 0);
  EXPECT_EQ(recorder.visits.size(), 10u);
  // A failed entry ends the walk of its directory, which is not visited, unless the walk
  // continues on errors.
  recorder.answers["!dangling"] = FS_VISIT_ERROR;
  Visits top = listing(recorder.root);
  size_t before = std::find(top.begin(), top.end(), "dangling") - top.begin();
  EXPECT_EQ(recorder.walk(follow | errors | FS_ITER_PRE_ORDER), 1);
  EXPECT_EQ(recorder.visits.back(), "!dangling");
  EXPECT_EQ((size_t)std::count_if(recorder.visits.begin(), recorder.visits.end(),
                                  [](const std::string& v) { return v.find('/') == std::string::npos; }),
            before + 2);  // the root, the entries before, the error visit
  EXPECT_EQ(recorder.walk(follow | errors | FS_ITER_CONTINUE_ON_ERROR), 1);
  EXPECT_EQ(recorder.visits.size(), 10u);
  EXPECT_EQ(recorder.visits.back(), ".");
}

TEST_F(AdvancedFileUtilsTest, WalkOfADirectoryThatCannotBeListed) {
  Recorder recorder(make_tree("tree"));
  const unsigned int pre = FS_ITER_PRE_ORDER, errors = FS_ITER_VISIT_ERRORS, go_on = FS_ITER_CONTINUE_ON_ERROR;
  struct {
    unsigned int flags;
    int error_answer, dir_answer, result;
    Visits visits;
  } cases[] = {
      {0, 0, 1, 1, {}},  // failed, without its post-order visit
      {go_on, 0, 1, 1, {"."}},
      {errors | pre, FS_VISIT_CONTINUE, 1, 0, {".", "!."}},
      {errors, FS_VISIT_CONTINUE, FS_VISIT_CANCEL, -1, {"!.", "."}},
      {errors, FS_VISIT_ERROR, 1, 1, {"!."}},
      {errors | go_on, FS_VISIT_ERROR, 1, 1, {"!.", "."}},
      {errors, FS_VISIT_CANCEL, 1, 1, {"!.", "."}},
      {errors, FS_VISIT_CANCEL, FS_VISIT_CANCEL, -1, {"!.", "."}},
      {errors | pre, FS_VISIT_CANCEL, 1, 1, {".", "!."}},
  };
  std::vector<fs_dir_handle*> handles;  // a full directory table makes every listing fail
  while (fs_dir_handle* handle = FS_opendir(recorder.root.c_str())) handles.push_back(handle);
  for (const auto& c : cases) {
    recorder.answers = {{"!.", c.error_answer}, {".", c.dir_answer}};
    std::string log = test::captured_stderr([&] { EXPECT_EQ(recorder.walk(c.flags), c.result) << c.flags; });
    EXPECT_EQ(recorder.visits, c.visits) << c.flags << " " << c.error_answer << " " << c.dir_answer;
    EXPECT_TRUE(logged(log, "[fs_iter] scandir(" + recorder.root + "): Too many open files"));
    EXPECT_EQ(log.find("canceled on error") != std::string::npos, c.error_answer == 0 && (c.flags & errors));
  }
  for (fs_dir_handle* handle : handles) FS_closedir(handle);
}

TEST_F(AdvancedFileUtilsTest, CopyReproducesTheTree) {
  std::string source = make_tree("src", true), copy = at("copy");
  unlink((source + "/fifo").c_str());
  auto wanted = snapshot(source);
  // The names below the root are format text, expanded as for zero or empty arguments.
  // A conversion with more flags than its 64-byte format holds keeps what fits.
  for (auto [name, copied] : {std::pair<std::string, std::string>{"100%% x%d", "100% x0"}, {"%-4d|%.3d", "0   |000"},
                              {"%" + std::string(70, '0') + "d", "0"}}) {
    test::write_file(source + "/" + name, "percent");
    wanted["/" + copied] = "file 0644 percent";
  }

  std::string log = test::captured_stderr(
      [&] { EXPECT_EQ(FS_copy_recursively((source + "/").c_str(), copy.c_str(), 0, 0), 1); });
  EXPECT_EQ(snapshot(copy), wanted);
  EXPECT_TRUE(logged(log, "[cp_r] symlink '" + copy + "/link_dir' -> 'a'"));
  EXPECT_TRUE(logged(log, "[cp_r] mkdir '" + copy + "/a/y'"));
  EXPECT_TRUE(logged(log, "[cp_r] copy '" + source + "/b' -> '" + copy + "/b'"));
  // Again: directories are reused and files overwritten up to the first link, which exists.
  testing::internal::CaptureStderr();
  EXPECT_EQ(FS_copy_recursively(source.c_str(), copy.c_str(), 0, 0), 0);
  // Links followed: below the source (the dangling one is passed over), and the source itself.
  EXPECT_EQ(FS_copy_recursively(source.c_str(), at("followed").c_str(), 0, 1), 1);
  symlink(source.c_str(), at("source_link").c_str());
  EXPECT_EQ(FS_copy_recursively(at("source_link").c_str(), at("as_link").c_str(), 0, 0), 1);
  EXPECT_EQ(FS_copy_recursively(at("source_link").c_str(), at("as_tree").c_str(), 1, 0), 1);
  EXPECT_EQ(FS_copy_recursively(source.c_str(), at("missing/copy").c_str(), 0, 0), 0);
  // A copy whose permission bits cannot be set (a /proc file) is made; the failure is logged.
  test::write_file(at("comm"), test::read_file("/proc/self/comm"));  // the program's own name
  EXPECT_EQ(FS_copy_recursively(at("comm").c_str(), "/proc/self/comm", 0, 0), 1);
  EXPECT_TRUE(logged(testing::internal::GetCapturedStderr(), "[cp_r] chmod(/proc/self/comm, 644) failed"));
  auto followed = snapshot(at("followed"));
  EXPECT_EQ(followed["/link_dir/x"], wanted["/a/x"]);
  EXPECT_EQ(followed.count("/dangling"), 0u);
  EXPECT_EQ(snapshot(sandbox.root())["/as_link"], "link " + source);
  EXPECT_EQ(snapshot(at("as_tree")), wanted);
  EXPECT_FALSE(FS_file_exists(at("missing").c_str()));
}

TEST_F(AdvancedFileUtilsTest, CopyFileReportsEachFailure) {
  std::string big = make_tree("src", true) + "/b", fifo = at("src/fifo");
  int error = -1;
  EXPECT_EQ(FS_copy_file_ext(big.c_str(), at("big").c_str(), &error), 0);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(test::read_file(at("big")), test::read_file(big));
  EXPECT_EQ(FS_copy_file(fifo.c_str(), at("big").c_str()), 0);  // a FIFO without writer: empty
  EXPECT_EQ(test::read_file(at("big")), "");
  // A file that reports the size 0 but holds text (as /proc files do) is read, not taken as empty.
  EXPECT_EQ(FS_copy_recursively("/proc/version", at("mounts").c_str(), 0, 0), 1);
  EXPECT_NE(test::read_file(at("mounts")), "");
  // A writer that pauses: a short read is not the end, the copy goes on until the writer closes.
  int ready[2];
  ASSERT_EQ(0, pipe(ready));
  pid_t writer = test::spawn([&] {
    int fd = open(fifo.c_str(), O_RDWR);
    bool ok = write(fd, "first ", 6) == 6 && write(ready[1], "", 1) == 1;
    usleep(200000);
    ok = ok && write(fd, "second", 6) == 6;
    return close(fd) == 0 && ok ? 0 : 1;
  });
  char byte;
  ASSERT_EQ(1, read(ready[0], &byte, 1));
  EXPECT_EQ(FS_copy_file(fifo.c_str(), at("paused").c_str()), 0);
  EXPECT_EQ(test::read_file(at("paused")), "first second");
  EXPECT_EQ(test::exit_status(writer), 0);
  close(ready[0]);
  close(ready[1]);

  struct {
    std::string from, to;
    int error;
    std::string line;
  } cases[] = {
      {at("missing"), at("x"), ENOENT, "[fs_copy] fopen_read(" + at("missing") + "): No such file or directory"},
      {at("src"), at("x"), EISDIR, "[fs_copy] read(" + at("src") + ") failed: Is a directory"},
      {big, at("missing/x"), ENOENT, "[fs_copy] fopen_write(" + at("missing/x") + "): No such file or directory"},
      {big, "/dev/full", ENOSPC, "[fs_copy] write(/dev/full) failed: No space left on device"},
  };
  for (const auto& c : cases) {
    if (c.to == "/dev/full" && access("/dev/full", W_OK) != 0) continue;
    std::string log =
        test::captured_stderr([&] { EXPECT_EQ(FS_copy_file_ext(c.from.c_str(), c.to.c_str(), &error), -1); });
    EXPECT_TRUE(logged(log, c.line)) << c.line;
    EXPECT_EQ(error, c.error) << c.line;
  }
}

TEST_F(AdvancedFileUtilsTest, RemoveTakesWhatItReachesAndNeverFollowsLinks) {
  // A missing path is not a failed walk.
  EXPECT_EQ(test::captured_stderr([&] { EXPECT_EQ(FS_remove_recursively_if_exists(at("missing").c_str()), 0); }), "");
  std::string outside = make_tree("outside");
  std::string tree = make_tree("tree");
  symlink(outside.c_str(), (tree + "/a/to_outside").c_str());
  symlink(outside.c_str(), at("link").c_str());
  auto kept = snapshot(outside);
  EXPECT_EQ(FS_remove_recursively_if_exists((tree + "/").c_str()), 0);
  EXPECT_EQ(FS_remove_recursively_if_exists(at("link").c_str()), 0);
  EXPECT_FALSE(FS_file_exists(tree.c_str()) || FS_is_dir(at("link").c_str()));
  EXPECT_EQ(snapshot(outside), kept);

  // A chain of directories past the longest path: the entries of the deepest reachable
  // directory go; that directory cannot (it holds the unreachable rest), nor anything above.
  test::make_dirs(at("chain"));
  int fd = open(at("chain").c_str(), O_RDONLY | O_DIRECTORY);
  const std::string level(200, 'd'), unreachable(255, 'z');
  for (size_t length = at("chain").size(); length + 1 + level.size() + 3 < 4096; length += 1 + level.size()) {
    mkdirat(fd, level.c_str(), 0755);
    int next = openat(fd, level.c_str(), O_RDONLY | O_DIRECTORY);
    close(fd);
    fd = next;
  }
  close(openat(fd, "f1", O_WRONLY | O_CREAT, 0600));
  mkdirat(fd, unreachable.c_str(), 0755);
  EXPECT_CONTAINS(test::captured_stderr([&] { EXPECT_EQ(FS_remove_recursively_if_exists(at("chain").c_str()), -1); }),
                  "): File name too long\n");
  EXPECT_TRUE(faccessat(fd, "f1", F_OK, 0) != 0 && faccessat(fd, unreachable.c_str(), F_OK, 0) == 0);
  EXPECT_TRUE(FS_is_dir((at("chain") + "/" + level).c_str()));
  unlinkat(fd, unreachable.c_str(), AT_REMOVEDIR);  // the sandbox cannot reach it either
  for (int parent; (parent = openat(fd, "..", O_RDONLY | O_DIRECTORY)) >= 0;) {
    close(fd);
    fd = parent;
    if (unlinkat(fd, level.c_str(), AT_REMOVEDIR) != 0) break;
  }
  close(fd);
}

TEST_F(AdvancedFileUtilsTest, ChmodRecursivelyChangesEveryEntryButLinks) {
  std::string tree = make_tree("tree", true);
  unlink((tree + "/dangling").c_str());
  symlink(at("target").c_str(), (tree + "/dangling").c_str());
  test::write_file(at("target"), "");
  chmod(at("target").c_str(), 0600);
  chmod(tree.c_str(), 0755);
  auto modes = [&] {
    std::string text;
    for (const auto& [name, entry] : snapshot(sandbox.root())) {
      text += entry.rfind("link", 0) == 0 ? "link," : entry.substr(0, entry.find(' ', entry.find(' ') + 1)) + ",";
    }
    return text;
  };
  // /target, /tree, /tree/a, /tree/a/x, /tree/a/y, /tree/b, /tree/dangling, /tree/fifo, /tree/link_dir
  FS_chmod_recursively(tree.c_str(), FS_CHMOD_ADD, 0020);
  EXPECT_EQ(modes(), "file 0600,dir 0775,dir 0770,file 0660,dir 0720,file 4775,link,other 0620,link,");
  FS_chmod_recursively(tree.c_str(), FS_CHMOD_REMOVE, 04066);
  EXPECT_EQ(modes(), "file 0600,dir 0711,dir 0710,file 0600,dir 0700,file 0711,link,other 0600,link,");
  FS_chmod_recursively(tree.c_str(), FS_CHMOD_SET, S_IFREG | 01750);
  FS_chmod_recursively(tree.c_str(), 7, 0777);  // re-applies what is there
  EXPECT_EQ(modes(), "file 0600,dir 1750,dir 1750,file 1750,dir 1750,file 1750,link,other 1750,link,");
}

// A followed link back into the walk path is an error entry (ELOOP), never entered; a link
// to a sibling tree is walked as usual.
TEST_F(AdvancedFileUtilsTest, FollowedWalksNeverLoop) {
  std::string root = at("loop");
  test::make_dirs(root + "/d/e");
  test::make_dirs(at("other/f"));
  symlink("..", (root + "/d/up").c_str());
  symlink("../../loop", (root + "/d/e/root").c_str());
  symlink("../../other", (root + "/d/side").c_str());
  Recorder recorder(root);
  auto visits = [&](unsigned int flags) {
    EXPECT_EQ(recorder.walk(flags), 0);
    return std::set<std::string>(recorder.visits.begin(), recorder.visits.end());
  };
  const unsigned int below = FS_ITER_FOLLOW_LINKS_BELOW, errors = FS_ITER_VISIT_ERRORS, pre = FS_ITER_PRE_ORDER;
  std::string log = test::captured_stderr([&] {
    EXPECT_EQ(visits(below | errors | pre),
              (std::set<std::string>{"!d/e/root", "!d/up", ".", "d", "d/e", "d/side", "d/side/f"}));
    EXPECT_EQ(visits(below), (std::set<std::string>{".", "d", "d/e", "d/side", "d/side/f"}));  // errors passed over
    EXPECT_EQ(FS_copy_recursively(root.c_str(), at("copy").c_str(), 0, 1), 1);
  });
  EXPECT_TRUE(logged(log, "[fs_iter] stat(" + root + "/d/up): " + strerror(ELOOP))) << log;
  EXPECT_EQ(snapshot(at("copy")), (std::map<std::string, std::string>{
                                      {"/d", "dir 0755 "}, {"/d/e", "dir 0755 "}, {"/d/side", "dir 0755 "},
                                      {"/d/side/f", "dir 0755 "}}));
}

// The verbatim copy takes names as they are, where the documented copy formats them; a name
// that fills the path buffer (4095 bytes with the directory) is kept whole by both, a longer
// one cancels the verbatim copy.
TEST_F(AdvancedFileUtilsTest, VerbatimCopyKeepsEveryName) {
  std::string source = make_tree("src", true);
  unlink((source + "/fifo").c_str());
  for (const char* name : {"a%d", "a0", "Track%201.mp3", "100%% x%s%n"}) test::write_file(source + "/" + name, name);
  testing::internal::CaptureStderr();
  EXPECT_EQ(FS_copy_recursively_verbatim((source + "/").c_str(), at("copy").c_str(), 0, 0), 1);
  EXPECT_EQ(snapshot(at("copy")), snapshot(source));
  std::string deep = at("deep");
  while (deep.size() < 3800) deep += "/" + std::string(200, 'x');
  test::make_dirs(deep);
  std::string exact(4095 - deep.size() - 1, 'e'), long_name(exact.size() + 1, 'n');
  ASSERT_LT(long_name.size(), 256u);
  test::make_dirs(at("exact"));
  test::write_file(at("exact/") + exact, "exact");
  for (auto copy : {FS_copy_recursively, FS_copy_recursively_verbatim}) {
    EXPECT_EQ(copy(at("exact").c_str(), deep.c_str(), 0, 0), 1);
    EXPECT_EQ(test::read_file(deep + "/" + exact), "exact");
    EXPECT_EQ(listing(deep), Visits{exact});
    unlink((deep + "/" + exact).c_str());
  }
  // The formatted copy cuts a name at the end of the buffer, also within an expansion.
  test::make_dirs(at("cut"));
  test::write_file(at("cut/") + exact.substr(1) + "%2d", "cut");
  EXPECT_EQ(FS_copy_recursively(at("cut").c_str(), deep.c_str(), 0, 0), 1);
  EXPECT_EQ(test::read_file(deep + "/" + exact.substr(1) + " "), "cut");
  unlink((deep + "/" + exact.substr(1) + " ").c_str());
  test::write_file(source + "/" + long_name, "long");  // its copy's path would take 4096 bytes
  EXPECT_EQ(FS_copy_recursively_verbatim(source.c_str(), deep.c_str(), 0, 0), 0);
  std::string log = testing::internal::GetCapturedStderr();
  EXPECT_NE(log.find(long_name + ": " + strerror(ENAMETOOLONG) + "\n"), std::string::npos) << log;
  std::vector<std::string> sources = listing(source);
  for (const std::string& name : listing(deep)) {  // nothing landed under a cut name
    EXPECT_NE(std::find(sources.begin(), sources.end(), name), sources.end()) << name;
  }
}

TEST_F(AdvancedFileUtilsTest, ToolAndAssertion) {
  std::string source = make_tree("src"), copy = at("copy"), output;
  unlink((source + "/fifo").c_str());
  test::write_file(source + "/a%d", "percent");  // names are copied verbatim
  EXPECT_EQ(test::run_tool("fs copy '" + source + "' '" + copy + "'"), 0);
  EXPECT_EQ(snapshot(copy), snapshot(source));
  EXPECT_EQ(test::run_tool("fs walk --pre-order --follow-below --errors '" + copy + "'", &output), 0);
  EXPECT_EQ(output.substr(0, output.find('\n')), "dir   " + copy);
  EXPECT_CONTAINS(output, "\nerror " + copy + "/dangling\n");
  // No copy into the source itself; missing paths are failures; an operand after "--".
  const std::string inner = source + "/a/inner", nothing = at("nothing");
  test::expect_tool({
      {"fs rm '" + copy + "'", 0, "", true},
      {"fs copy '" + source + "' '" + at("missing/copy") + "'", 1, ""},
      {"fs copy '" + source + "'", 2, ""},
      {"fs walk --sideways x", 2, ""},
      {"fs copy --follow-below '" + source + "' '" + inner + "'", 1,
       "vonautil fs: cannot copy '" + source + "' into itself ('" + inner + "')\n", true},
      {"fs copy '" + source + "/' '" + at("src") + "'", 1, ""},
      {"fs walk '" + nothing + "'", 1,
       "vonautil fs: cannot examine '" + nothing + "': No such file or directory\n", true},
      {"fs copy '" + nothing + "' '" + at("copy2") + "'", 1, ""},
      {"fs walk -- --errors", 1, "vonautil fs: cannot examine '--errors': No such file or directory\n", true},
  });
  EXPECT_FALSE(FS_file_exists(copy.c_str()) || FS_file_exists(inner.c_str()) || FS_file_exists(at("copy2").c_str()));
  EXPECT_DEATH(FS_iterate_recursively("/", 0, nullptr, nullptr),
               test::assertion_report("player/src/util/mt/advanced_file_utils", 0, "FS_iterate_recursively",
                                      "path_visitor"));
}

}  // namespace
