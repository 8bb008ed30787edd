#include "player/src/util/mt/advanced_file_utils.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "player/src/util/mt/file_utils.h"
#include "test_support.hpp"

namespace {

using Visits = std::vector<std::string>;

// Records every visit as a path relative to the root ("." for the root itself, a leading "!"
// for an error visit) and answers from a script (FS_VISIT_CONTINUE by default).
struct Recorder {
  explicit Recorder(const std::string& walk_root) : root(walk_root) {}

  std::string root;
  Visits visits;
  std::map<std::string, int> answers;   // keyed like the visits
  std::set<std::string> remove_on_visit;  // empty directories that vanish when visited

  static int visit(const char* path, const struct stat* status, void* context) {
    Recorder* self = static_cast<Recorder*>(context);
    std::string name = path == self->root ? "." : std::string(path).substr(self->root.size() + 1);
    if (status == nullptr) name = "!" + name;
    self->visits.push_back(name);
    if (self->remove_on_visit.count(name)) rmdir(path);
    auto answer = self->answers.find(name);
    return answer == self->answers.end() ? FS_VISIT_CONTINUE : answer->second;
  }
  int walk(unsigned int flags) { return walk_path(root, flags); }
  int walk_path(const std::string& path, unsigned int flags) {
    visits.clear();
    return FS_iterate_recursively(path.c_str(), flags, visit, this);
  }
};

// The entries of a directory in the order the system lists them.
std::vector<std::string> listing(const std::string& dir) {
  std::vector<std::string> names;
  DIR* stream = opendir(dir.c_str());
  if (stream == nullptr) return names;
  while (struct dirent* entry = readdir(stream)) {
    std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  closedir(stream);
  return names;
}

// The visit order of a walk without failures, worked out independently of the walker.
void expected_walk(const std::string& root, const std::string& name, bool pre_order, bool follow, Visits& out) {
  std::string path = name == "." ? root : root + "/" + name;
  struct stat status;
  if ((follow ? stat(path.c_str(), &status) : lstat(path.c_str(), &status)) != 0) return;
  if (pre_order || !S_ISDIR(status.st_mode)) out.push_back(name);
  if (!S_ISDIR(status.st_mode)) return;
  for (const std::string& child : listing(path)) {
    expected_walk(root, name == "." ? child : name + "/" + child, pre_order, follow, out);
  }
  if (!pre_order) out.push_back(name);
}

Visits expected(const std::string& root, bool pre_order, bool follow_below = false) {
  Visits out;
  expected_walk(root, ".", pre_order, follow_below, out);
  return out;
}

// What a tree holds: per relative path its type, permission bits and content or link target.
std::map<std::string, std::string> snapshot(const std::string& root, const std::string& name = "") {
  std::map<std::string, std::string> entries;
  for (const std::string& child : listing(root + name)) {
    std::string rel = name + "/" + child, path = root + rel;
    struct stat status;
    lstat(path.c_str(), &status);
    char mode[16];
    snprintf(mode, sizeof mode, "%04o ", (unsigned)(status.st_mode & 07777));
    if (S_ISLNK(status.st_mode)) {
      char target[4096];
      ssize_t n = readlink(path.c_str(), target, sizeof target);
      entries[rel] = "link -> " + std::string(target, n > 0 ? n : 0);
    } else if (S_ISDIR(status.st_mode)) {
      entries[rel] = std::string("dir ") + mode;
      auto below = snapshot(root, rel);
      entries.insert(below.begin(), below.end());
    } else {
      entries[rel] = std::string("file ") + mode + test::read_file(path);
    }
  }
  return entries;
}

class AdvancedFileUtilsTest : public test::SandboxTest {
 protected:
  std::string at(const std::string& name) const { return sandbox.root() + "/" + name; }

  // tree/a/x, tree/a/y/ (empty), tree/b, tree/fifo, tree/link_dir -> a, tree/dangling -> missing
  std::string make_walk_tree() {
    std::string root = at("tree");
    test::make_dirs(root + "/a/y");
    test::write_file(root + "/a/x", "x");
    test::write_file(root + "/b", "b");
    mkfifo((root + "/fifo").c_str(), 0600);
    symlink("a", (root + "/link_dir").c_str());
    symlink("missing", (root + "/dangling").c_str());
    return root;
  }

  // Copy source: files of several sizes and modes, nested directories with their own modes,
  // links to a file, to a directory and to nothing.
  std::string make_copy_tree() {
    std::string root = at("src");
    test::make_dirs(root + "/sub/deep");
    test::write_file(root + "/file.txt", "hello");
    std::string big(300000, '\0');
    for (size_t i = 0; i < big.size(); ++i) big[i] = (char)(i * 7 + i / 1000);
    test::write_file(root + "/big.bin", big);
    test::write_file(root + "/empty", "");
    test::write_file(root + "/run.sh", "#!/bin/sh\n");
    test::write_file(root + "/sub/deep/note", "n");
    chmod((root + "/file.txt").c_str(), 0640);
    chmod((root + "/big.bin").c_str(), 0600);
    chmod((root + "/run.sh").c_str(), 04755);
    chmod((root + "/sub").c_str(), 0750);
    chmod((root + "/sub/deep").c_str(), 0700);
    symlink("file.txt", (root + "/link_file").c_str());
    symlink("sub", (root + "/link_dir").c_str());
    symlink("/nowhere/at/all", (root + "/dangling").c_str());
    return root;
  }
};

// Holds every slot of the open-directory table while it lives.
class FullDirTable {
 public:
  explicit FullDirTable(const std::string& dir) {
    while (fs_dir_handle* handle = FS_opendir(dir.c_str())) handles_.push_back(handle);
  }
  ~FullDirTable() {
    for (fs_dir_handle* handle : handles_) FS_closedir(handle);
  }
  size_t size() const { return handles_.size(); }

 private:
  std::vector<fs_dir_handle*> handles_;
};

TEST_F(AdvancedFileUtilsTest, WalkVisitsInPreAndPostOrderWithoutFollowingLinks) {
  Recorder recorder{make_walk_tree()};
  EXPECT_EQ(recorder.walk(0), 0);
  EXPECT_EQ(recorder.visits, expected(recorder.root, false));
  EXPECT_EQ(recorder.visits.size(), 8u);  // the links are entries, not walked
  EXPECT_EQ(recorder.visits.back(), ".");

  EXPECT_EQ(recorder.walk(FS_ITER_PRE_ORDER), 0);
  EXPECT_EQ(recorder.visits, expected(recorder.root, true));
  EXPECT_EQ(recorder.visits.front(), ".");

  // The start path itself: a link to a directory is one entry unless it is followed.
  EXPECT_EQ(recorder.walk_path(recorder.root + "/link_dir", 0), 0);
  EXPECT_EQ(recorder.visits, Visits{"link_dir"});
  EXPECT_EQ(recorder.walk_path(recorder.root + "/link_dir/", FS_ITER_FOLLOW_LINKS | FS_ITER_PRE_ORDER), 0);
  EXPECT_EQ(recorder.visits.size(), 3u);
  EXPECT_EQ(recorder.visits[0], "link_dir");
}

TEST_F(AdvancedFileUtilsTest, WalkFollowingLinksBelowMeetsDanglingLinks) {
  Recorder recorder{make_walk_tree()};
  std::string dangling = recorder.root + "/dangling";
  testing::internal::CaptureStderr();
  EXPECT_EQ(recorder.walk(FS_ITER_FOLLOW_LINKS_BELOW), 0);  // the failure is logged and passed over
  std::string log = testing::internal::GetCapturedStderr();
  EXPECT_NE(log.find("[fs_iter] stat(" + dangling + "): No such file or directory\n"), std::string::npos) << log;
  Visits followed = expected(recorder.root, false, true);
  EXPECT_EQ(recorder.visits, followed);
  EXPECT_EQ(followed.size(), 9u);  // link_dir/x and link_dir/y walked, the dangling link not visited

  EXPECT_EQ(recorder.walk(FS_ITER_FOLLOW_LINKS_BELOW | FS_ITER_VISIT_ERRORS), 0);  // handled by the visitor
  EXPECT_EQ(std::count(recorder.visits.begin(), recorder.visits.end(), "!dangling"), 1);
  EXPECT_EQ(recorder.visits.size(), 10u);

  // An error visit that answers FS_VISIT_ERROR fails the directory: the walk stops after it and
  // the directory is not visited, unless the walk continues on errors.
  recorder.answers["!dangling"] = FS_VISIT_ERROR;
  std::vector<std::string> order = listing(recorder.root);
  size_t position = std::find(order.begin(), order.end(), "dangling") - order.begin();
  EXPECT_EQ(recorder.walk(FS_ITER_FOLLOW_LINKS_BELOW | FS_ITER_VISIT_ERRORS | FS_ITER_PRE_ORDER), 1);
  EXPECT_EQ(recorder.visits.back(), "!dangling");
  size_t visited_at_top = 0;
  for (const std::string& visit : recorder.visits) visited_at_top += visit.find('/') == std::string::npos;
  EXPECT_EQ(visited_at_top, 1 + position + 1);  // the root, the entries before, the error visit

  EXPECT_EQ(recorder.walk(FS_ITER_FOLLOW_LINKS_BELOW | FS_ITER_VISIT_ERRORS | FS_ITER_CONTINUE_ON_ERROR), 1);
  EXPECT_EQ(recorder.visits.size(), 10u);
  EXPECT_EQ(recorder.visits.back(), ".");
}

TEST_F(AdvancedFileUtilsTest, WalkSkipsChildrenAndCancels) {
  Recorder recorder{make_walk_tree()};
  recorder.answers["a"] = FS_VISIT_SKIP_CHILDREN;
  EXPECT_EQ(recorder.walk(FS_ITER_PRE_ORDER), 0);
  Visits without_a_children = expected(recorder.root, true);
  without_a_children.erase(std::remove_if(without_a_children.begin(), without_a_children.end(),
                                          [](const std::string& v) { return v.rfind("a/", 0) == 0; }),
                           without_a_children.end());
  EXPECT_EQ(recorder.visits, without_a_children);
  EXPECT_EQ(recorder.walk(0), 0);  // post-order: the answer comes too late to skip anything
  EXPECT_EQ(recorder.visits, expected(recorder.root, false));

  recorder.answers = {{"a/x", FS_VISIT_CANCEL}};
  for (unsigned int flags : {0u, (unsigned)FS_ITER_PRE_ORDER, (unsigned)FS_ITER_CONTINUE_ON_ERROR}) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(recorder.walk(flags), -1) << flags;
    std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(recorder.visits.back(), "a/x") << flags;
    // Only a post-order visit says that it cancelled.
    EXPECT_EQ(log.find("[fs_iter] visit(" + recorder.root + "/a/x): canceled\n") != std::string::npos,
              !(flags & FS_ITER_PRE_ORDER))
        << log;
  }
  recorder.answers = {{".", FS_VISIT_CANCEL}};
  EXPECT_EQ(recorder.walk(FS_ITER_PRE_ORDER), -1);
  EXPECT_EQ(recorder.visits, Visits{"."});
}

TEST_F(AdvancedFileUtilsTest, WalkOfAPathThatCannotBeExamined) {
  test::write_file(at("file"), "x");
  struct {
    std::string path;
    const char* error;
  } cases[] = {
      {at("missing"), "No such file or directory"},
      {at("file/below"), "Not a directory"},
      {at(std::string(300, 'n')), "File name too long"},
  };
  for (const auto& c : cases) {
    Recorder recorder{c.path};
    testing::internal::CaptureStderr();
    EXPECT_EQ(recorder.walk(0), 0) << c.path;  // logged and otherwise passed over
    std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("[fs_iter] lstat(" + c.path + "): " + c.error + "\n"), std::string::npos) << log;
    EXPECT_TRUE(recorder.visits.empty());

    for (int answer : {FS_VISIT_CONTINUE, FS_VISIT_SKIP_CHILDREN}) {
      recorder.answers["!."] = answer;
      EXPECT_EQ(recorder.walk(FS_ITER_VISIT_ERRORS), 0) << answer;
      EXPECT_EQ(recorder.visits, Visits{"!."});
    }
    recorder.answers["!."] = FS_VISIT_ERROR;
    EXPECT_EQ(recorder.walk(FS_ITER_VISIT_ERRORS), 1);
    recorder.answers["!."] = FS_VISIT_CANCEL;
    testing::internal::CaptureStderr();
    EXPECT_EQ(recorder.walk(FS_ITER_VISIT_ERRORS | FS_ITER_PRE_ORDER), 1);  // a cancel on error is a failure
    log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("[fs_iter] visit(" + c.path + "): canceled on error\n"), std::string::npos) << log;
  }

  Recorder followed{at("dangling")};
  symlink("missing", followed.root.c_str());
  testing::internal::CaptureStderr();
  EXPECT_EQ(followed.walk(FS_ITER_FOLLOW_LINKS), 0);
  EXPECT_NE(testing::internal::GetCapturedStderr().find("[fs_iter] stat(" + followed.root + "): No such file"),
            std::string::npos);
  EXPECT_EQ(followed.walk(0), 0);  // lstat sees the link itself
  EXPECT_EQ(followed.visits, Visits{"."});
}

TEST_F(AdvancedFileUtilsTest, WalkOfADirectoryThatCannotBeListed) {
  Recorder recorder{make_walk_tree()};
  const unsigned int pre = FS_ITER_PRE_ORDER, errors = FS_ITER_VISIT_ERRORS, go_on = FS_ITER_CONTINUE_ON_ERROR;
  struct {
    unsigned int flags;
    int error_answer;
    int dir_answer;
    int result;
    Visits visits;
  } cases[] = {
      {0, 0, 1, 1, {}},  // failed, and without its post-order visit
      {pre, 0, 1, 1, {"."}},
      {go_on, 0, 1, 1, {"."}},
      {errors, FS_VISIT_CONTINUE, 1, 0, {"!.", "."}},
      {errors | pre, FS_VISIT_CONTINUE, 1, 0, {".", "!."}},
      {errors, FS_VISIT_ERROR, 1, 1, {"!."}},
      {errors | go_on, FS_VISIT_ERROR, 1, 1, {"!.", "."}},
      {errors | pre, FS_VISIT_ERROR, 1, 1, {".", "!."}},
      {errors, FS_VISIT_CANCEL, 1, 1, {"!.", "."}},
      {errors, FS_VISIT_CANCEL, FS_VISIT_CANCEL, -1, {"!.", "."}},
      {errors | pre, FS_VISIT_CANCEL, 1, 1, {".", "!."}},
      {errors, FS_VISIT_CONTINUE, FS_VISIT_CANCEL, -1, {"!.", "."}},
  };
  FullDirTable full(recorder.root);
  ASSERT_EQ(full.size(), 100u);
  for (const auto& c : cases) {
    recorder.answers = {{"!.", c.error_answer}, {".", c.dir_answer}};
    testing::internal::CaptureStderr();
    EXPECT_EQ(recorder.walk(c.flags), c.result) << c.flags << " " << c.error_answer << " " << c.dir_answer;
    std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(recorder.visits, c.visits) << c.flags << " " << c.error_answer << " " << c.dir_answer;
    EXPECT_NE(log.find("[fs_iter] scandir(" + recorder.root + "): Too many open files\n"), std::string::npos) << log;
    bool canceled_on_error = c.error_answer == FS_VISIT_CANCEL && (c.flags & errors);
    EXPECT_EQ(log.find("canceled on error") != std::string::npos, canceled_on_error) << log;
  }
}

TEST_F(AdvancedFileUtilsTest, WalkOfADirectoryThatVanishesBeforeItIsListed) {
  Recorder recorder{make_walk_tree()};
  recorder.remove_on_visit = {"a/y"};
  EXPECT_EQ(recorder.walk(FS_ITER_PRE_ORDER | FS_ITER_CONTINUE_ON_ERROR), 1);
  EXPECT_EQ(recorder.visits.size(), 8u);  // every entry once, a/y before it vanished
  test::make_dirs(recorder.root + "/a/y");
  recorder.answers["!a/y"] = FS_VISIT_CONTINUE;
  EXPECT_EQ(recorder.walk(FS_ITER_PRE_ORDER | FS_ITER_VISIT_ERRORS), 0);  // handled by the visitor
  EXPECT_EQ(std::count(recorder.visits.begin(), recorder.visits.end(), "!a/y"), 1);
}

TEST_F(AdvancedFileUtilsTest, CopyReproducesFilesDirectoriesModesAndLinks) {
  std::string source = make_copy_tree();
  test::write_file(source + "/100%% pure", "percent");
  auto original = snapshot(source);

  testing::internal::CaptureStderr();
  EXPECT_EQ(FS_copy_recursively((source + "/").c_str(), at("copy").c_str(), 0, 0), 1);
  std::string log = testing::internal::GetCapturedStderr();
  auto copied = snapshot(at("copy"));
  auto wanted = original;
  wanted["/100% pure"] = wanted["/100%% pure"];  // the remainder is format text: "%%" gives "%"
  wanted.erase("/100%% pure");
  EXPECT_EQ(copied, wanted);
  struct stat status;
  ASSERT_EQ(stat(at("copy").c_str(), &status), 0);
  EXPECT_TRUE(S_ISDIR(status.st_mode));
  EXPECT_NE(log.find("[cp_r] symlink '" + at("copy") + "/link_dir' -> 'sub'\n"), std::string::npos) << log;
  EXPECT_NE(log.find("[cp_r] mkdir '" + at("copy") + "/sub/deep'\n"), std::string::npos) << log;
  EXPECT_NE(log.find("[cp_r] copy '" + source + "/big.bin' -> '" + at("copy") + "/big.bin'\n"), std::string::npos);

  // Copying again reuses the directories and overwrites the files, but stops at the first link,
  // which exists already.
  EXPECT_EQ(FS_copy_recursively(source.c_str(), at("copy").c_str(), 0, 0), 0);

  // Following the links below the source copies what they point at; a dangling link is logged
  // and passed over.
  testing::internal::CaptureStderr();
  EXPECT_EQ(FS_copy_recursively(source.c_str(), at("followed").c_str(), 0, 1), 1);
  testing::internal::GetCapturedStderr();
  auto followed = snapshot(at("followed"));
  EXPECT_EQ(followed["/link_file"], original["/file.txt"]);
  EXPECT_EQ(followed["/link_dir/deep/note"], original["/sub/deep/note"]);
  EXPECT_EQ(followed.count("/dangling"), 0u);

  // The source itself: a link is copied as a link unless it is followed.
  symlink(source.c_str(), at("source_link").c_str());
  testing::internal::CaptureStderr();
  EXPECT_EQ(FS_copy_recursively(at("source_link").c_str(), at("as_link").c_str(), 0, 0), 1);
  EXPECT_EQ(FS_copy_recursively(at("source_link").c_str(), at("as_tree").c_str(), 1, 0), 1);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(snapshot(sandbox.root())["/as_link"], "link -> " + source);
  EXPECT_EQ(snapshot(at("as_tree")), wanted);

  // Into an existing directory: kept as it is, with what it held.
  test::make_dirs(at("existing"));
  test::write_file(at("existing/mine"), "mine");
  chmod(at("existing").c_str(), 0711);
  testing::internal::CaptureStderr();
  EXPECT_EQ(FS_copy_recursively(source.c_str(), at("existing").c_str(), 0, 0), 1);
  testing::internal::GetCapturedStderr();
  auto merged = snapshot(at("existing"));
  EXPECT_EQ(merged.size(), wanted.size() + 1);
  ASSERT_EQ(stat(at("existing").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0711u);
}

TEST_F(AdvancedFileUtilsTest, CopyNamesAreFormatTextAndFailuresCancel) {
  std::string source = at("names");
  test::make_dirs(source);
  test::write_file(source + "/a%d%s%c%p%n%5%b%.3f%", "x");
  testing::internal::CaptureStderr();
  EXPECT_EQ(FS_copy_recursively(source.c_str(), at("out").c_str(), 0, 0), 1);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(listing(at("out")), std::vector<std::string>{"a0(nil)%b0.000%"});

  testing::internal::CaptureStderr();
  EXPECT_EQ(FS_copy_recursively(source.c_str(), at("missing/out").c_str(), 0, 0), 0);
  std::string log = testing::internal::GetCapturedStderr();
  EXPECT_NE(log.find("[cp_r] mkdir '" + at("missing/out") + "'\n"), std::string::npos) << log;
  EXPECT_FALSE(FS_file_exists(at("missing").c_str()));
}

TEST_F(AdvancedFileUtilsTest, CopyFileReportsEachFailure) {
  std::string source = make_copy_tree() + "/big.bin";
  int error = -1;
  EXPECT_EQ(FS_copy_file_ext(source.c_str(), at("big").c_str(), &error), 0);
  EXPECT_EQ(error, 0);
  EXPECT_EQ(test::read_file(at("big")), test::read_file(source));
  EXPECT_EQ(FS_copy_file(at("src/empty").c_str(), at("big").c_str()), 0);  // truncates
  EXPECT_EQ(test::read_file(at("big")), "");

  struct {
    std::string from, to;
    int error;
    std::string message;
  } cases[] = {
      {at("missing"), at("x"), ENOENT, "[fs_copy] fopen_read(" + at("missing") + "): No such file or directory\n"},
      {source, at("missing/x"), ENOENT, "[fs_copy] fopen_write(" + at("missing/x") + "): No such file or directory\n"},
      {at("src"), at("x"), EISDIR, "[fs_copy] read(" + at("src") + ") failed: Is a directory\n"},
      {source, "/dev/full", ENOSPC, "[fs_copy] write(/dev/full) failed: No space left on device\n"},
      {at("src/file.txt"), "/dev/full", ENOSPC, "[fs_copy] fclose_write(/dev/full): No space left on device\n"},
  };
  for (const auto& c : cases) {
    if (c.to == "/dev/full" && access("/dev/full", W_OK) != 0) continue;
    testing::internal::CaptureStderr();
    EXPECT_EQ(FS_copy_file_ext(c.from.c_str(), c.to.c_str(), &error), -1) << c.message;
    std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(error, c.error) << c.message;
    EXPECT_NE(log.find(c.message), std::string::npos) << log;
  }

  // A FIFO without a writer copies as an empty file instead of waiting for one.
  mkfifo(at("fifo").c_str(), 0600);
  EXPECT_EQ(FS_copy_file(at("fifo").c_str(), at("from_fifo").c_str()), 0);
  EXPECT_EQ(test::read_file(at("from_fifo")), "");
}

// Removes what lies below dir_fd/name however deep it goes, by descriptors.
void remove_at(int dir_fd, const char* name) {
  int fd = openat(dir_fd, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
  if (fd >= 0) {
    DIR* dir = fdopendir(fd);
    std::vector<std::string> names;
    while (struct dirent* entry = readdir(dir)) {
      if (strcmp(entry->d_name, ".") != 0 && strcmp(entry->d_name, "..") != 0) names.push_back(entry->d_name);
    }
    for (const std::string& child : names) remove_at(dirfd(dir), child.c_str());
    closedir(dir);
    unlinkat(dir_fd, name, AT_REMOVEDIR);
  } else {
    unlinkat(dir_fd, name, 0);
  }
}

TEST_F(AdvancedFileUtilsTest, RemoveTakesWhatItReachesAndNeverFollowsLinks) {
  EXPECT_EQ(FS_remove_recursively_if_exists(at("missing").c_str()), 0);

  test::make_dirs(at("outside/dir"));
  test::write_file(at("outside/file"), "keep");
  std::string tree = make_walk_tree();
  symlink(at("outside").c_str(), (tree + "/a/to_outside").c_str());
  symlink(at("outside/file").c_str(), (tree + "/to_file").c_str());
  EXPECT_EQ(FS_remove_recursively_if_exists((tree + "/").c_str()), 0);
  EXPECT_FALSE(FS_file_exists(tree.c_str()));
  EXPECT_EQ(test::read_file(at("outside/file")), "keep");
  EXPECT_TRUE(FS_is_dir(at("outside/dir").c_str()));

  symlink(at("outside").c_str(), at("link").c_str());
  EXPECT_EQ(FS_remove_recursively_if_exists(at("link").c_str()), 0);
  struct stat status;
  EXPECT_NE(lstat(at("link").c_str(), &status), 0);
  EXPECT_TRUE(FS_is_dir(at("outside/dir").c_str()));
  EXPECT_EQ(FS_remove_recursively_if_exists(at("outside/file").c_str()), 0);
  EXPECT_FALSE(FS_file_exists(at("outside/file").c_str()));

  // A chain of directories that goes past the longest path: the entries within reach of the
  // deepest reachable directory go, that directory cannot (it still holds the unreachable
  // rest), and everything above it stays.
  test::make_dirs(at("chain"));
  int fd = open(at("chain").c_str(), O_RDONLY | O_DIRECTORY);
  size_t length = at("chain").size();
  const std::string level(200, 'd');
  int depth = 0;
  for (; length + 1 + level.size() + 3 < 4096; ++depth) {
    mkdirat(fd, level.c_str(), 0755);
    int next = openat(fd, level.c_str(), O_RDONLY | O_DIRECTORY);
    close(fd);
    fd = next;
    length += 1 + level.size();
  }
  close(openat(fd, "f1", O_WRONLY | O_CREAT, 0600));
  close(openat(fd, "f2", O_WRONLY | O_CREAT, 0600));
  mkdirat(fd, std::string(255, 'z').c_str(), 0755);
  EXPECT_EQ(faccessat(fd, "f1", F_OK, 0), 0);

  testing::internal::CaptureStderr();
  EXPECT_EQ(FS_remove_recursively_if_exists(at("chain").c_str()), -1);
  std::string log = testing::internal::GetCapturedStderr();
  EXPECT_NE(log.find("): File name too long\n"), std::string::npos) << log;
  EXPECT_NE(faccessat(fd, "f1", F_OK, 0), 0);
  EXPECT_NE(faccessat(fd, "f2", F_OK, 0), 0);
  EXPECT_EQ(faccessat(fd, std::string(255, 'z').c_str(), F_OK, 0), 0);
  EXPECT_TRUE(FS_is_dir((at("chain") + "/" + level).c_str()));
  EXPECT_GT(depth, 10);
  close(fd);
  remove_at(AT_FDCWD, at("chain").c_str());
}

TEST_F(AdvancedFileUtilsTest, ChmodRecursivelyChangesEveryEntryButLinks) {
  std::string tree = at("tree");
  test::make_dirs(tree + "/d");
  test::write_file(tree + "/f", "f");
  test::write_file(tree + "/d/g", "g");
  test::write_file(at("target"), "t");
  chmod(at("target").c_str(), 0600);
  symlink(at("target").c_str(), (tree + "/link").c_str());
  chmod(tree.c_str(), 0755);
  chmod((tree + "/d").c_str(), 0755);
  chmod((tree + "/f").c_str(), 0644);
  chmod((tree + "/d/g").c_str(), 0600);
  auto modes = [&] {
    std::map<std::string, std::string> entries = snapshot(tree);
    std::vector<std::string> result;
    for (const char* name : {"/d", "/f", "/d/g"}) result.push_back(entries[name].substr(0, entries[name].find(' ', 5)));
    struct stat status;
    stat(tree.c_str(), &status);
    char root[8];
    snprintf(root, sizeof root, "%04o", (unsigned)(status.st_mode & 07777));
    result.push_back(root);
    stat(at("target").c_str(), &status);
    snprintf(root, sizeof root, "%04o", (unsigned)(status.st_mode & 07777));
    result.push_back(root);
    return result;
  };
  FS_chmod_recursively(tree.c_str(), FS_CHMOD_ADD, 0020);
  EXPECT_EQ(modes(), (std::vector<std::string>{"dir 0775", "file 0664", "file 0620", "0775", "0600"}));
  FS_chmod_recursively(tree.c_str(), FS_CHMOD_REMOVE, 0066);
  EXPECT_EQ(modes(), (std::vector<std::string>{"dir 0711", "file 0600", "file 0600", "0711", "0600"}));
  FS_chmod_recursively(tree.c_str(), FS_CHMOD_SET, S_IFREG | 01750);
  EXPECT_EQ(modes(), (std::vector<std::string>{"dir 1750", "file 1750", "file 1750", "1750", "0600"}));
  FS_chmod_recursively(tree.c_str(), 7, 0777);  // re-applies what is there
  EXPECT_EQ(modes(), (std::vector<std::string>{"dir 1750", "file 1750", "file 1750", "1750", "0600"}));
}

TEST_F(AdvancedFileUtilsTest, ToolCopiesRemovesAndWalks) {
  std::string source = make_walk_tree();
  unlink((source + "/fifo").c_str());
  std::string output;
  EXPECT_EQ(test::run_tool("fs copy '" + source + "' '" + at("copy") + "'"), 0);
  EXPECT_EQ(snapshot(at("copy")), snapshot(source));
  EXPECT_EQ(test::run_tool("fs walk --pre-order '" + at("copy") + "'", &output), 0);
  EXPECT_EQ(output.substr(0, output.find('\n')), "dir   " + at("copy"));
  EXPECT_NE(output.find("\nlink  " + at("copy") + "/link_dir\n"), std::string::npos) << output;
  EXPECT_NE(output.find("\nfile  " + at("copy") + "/a/x\n"), std::string::npos) << output;
  EXPECT_EQ(test::run_tool("fs walk --follow-below --errors '" + at("copy") + "'", &output), 0);
  EXPECT_NE(output.find("\nerror " + at("copy") + "/dangling\n"), std::string::npos) << output;
  EXPECT_EQ(test::run_tool("fs rm '" + at("copy") + "'"), 0);
  EXPECT_FALSE(FS_file_exists(at("copy").c_str()));

  EXPECT_EQ(test::run_tool("fs copy '" + source + "' '" + at("missing/copy") + "'"), 1);
  EXPECT_EQ(test::run_tool("fs copy '" + source + "'"), 2);
  EXPECT_EQ(test::run_tool("fs walk --sideways '" + source + "'"), 2);
  EXPECT_EQ(test::run_tool("fs mv a b"), 2);
}

TEST_F(AdvancedFileUtilsTest, NullVisitorIsAnAssertion) {
  EXPECT_DEATH(FS_iterate_recursively("/", 0, nullptr, nullptr),
               "player/src/util/mt/advanced_file_utils:[0-9]+: FS_iterate_recursively: Assertion `path_visitor' failed\\.");
}

}  // namespace
