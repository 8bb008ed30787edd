#include "player/src/util/mt/file_utils.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "test_support.hpp"

namespace {

class FileUtilsTest : public test::SandboxTest {
 protected:
  std::string at(const std::string& name) const { return sandbox.root() + "/" + name; }
};

std::vector<std::string> to_vector(string_array* array) {
  std::vector<std::string> items;
  if (array == nullptr) return items;
  for (int i = 0; i < array->size; ++i) items.push_back(array->items[i]);
  EXPECT_EQ(array->items[array->size], nullptr);
  string_array_free(array);
  return items;
}

std::vector<std::string> readlines(const std::string& path, int max_line_size, int max_lines) {
  return to_vector(FS_readlines(path.c_str(), max_line_size, max_lines));
}

TEST_F(FileUtilsTest, WrappersAndPredicatesFollowTheSystemCalls) {
  std::string file = at("file"), dir = at("dir"), link = at("link"), dangling = at("dangling");
  test::write_file(file, "x");
  ASSERT_EQ(FS_mkdir(dir.c_str(), 0700), 0);
  EXPECT_EQ(FS_mkdir(dir.c_str(), 0700), -1);
  EXPECT_EQ(errno, EEXIST);
  ASSERT_EQ(FS_soft_link("file", link.c_str()), 0);
  ASSERT_EQ(FS_soft_link("missing", dangling.c_str()), 0);

  EXPECT_TRUE(FS_file_exists(file.c_str()) && FS_file_exists(dir.c_str()) && FS_file_exists(link.c_str()));
  EXPECT_FALSE(FS_file_exists(dangling.c_str()));
  EXPECT_TRUE(FS_path_exists(file.c_str()));
  EXPECT_FALSE(FS_path_exists(at("missing").c_str()));
  EXPECT_TRUE(FS_dir_exists(dir.c_str()));
  EXPECT_FALSE(FS_dir_exists(file.c_str()));
  EXPECT_TRUE(FS_is_dir(dir.c_str()) && !FS_is_dir(file.c_str()));
  EXPECT_TRUE(FS_is_regular_file(link.c_str()) && !FS_is_regular_file(dir.c_str()));

  struct stat status;
  EXPECT_EQ(FS_lstat(link.c_str(), &status), 0);
  EXPECT_TRUE(S_ISLNK(status.st_mode));
  EXPECT_EQ(FS_stat(link.c_str(), &status), 0);
  EXPECT_TRUE(S_ISREG(status.st_mode));
  EXPECT_EQ(FS_chmod(file.c_str(), 0604), 0);
  EXPECT_EQ(FS_stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0604u);
  EXPECT_EQ(FS_access(file.c_str(), R_OK), 0);

  int fd = FS_open_with_mode(at("new").c_str(), O_WRONLY | O_CREAT | O_EXCL, 0600);
  ASSERT_GE(fd, 0);
  close(fd);
  EXPECT_EQ(FS_open(at("missing").c_str(), O_RDONLY), -1);
  EXPECT_EQ(errno, ENOENT);
  FILE* stream = FS_fopen(file.c_str(), "r");
  ASSERT_NE(stream, nullptr);
  fclose(stream);

  EXPECT_EQ(FS_rename(at("new").c_str(), at("renamed").c_str()), 0);
  EXPECT_TRUE(FS_file_exists(at("renamed").c_str()) && !FS_file_exists(at("new").c_str()));
  EXPECT_EQ(FS_unlink(at("renamed").c_str()), 0);
  EXPECT_EQ(FS_rmdir(file.c_str()), -1);
  EXPECT_EQ(errno, ENOTDIR);
  EXPECT_EQ(FS_rmdir(dir.c_str()), 0);
}

TEST_F(FileUtilsTest, DirContainsFilesIgnoresDotsAndLostFound) {
  std::string dir = at("disk");
  test::make_dirs(dir + "/lost+found");
  EXPECT_EQ(FS_dir_contains_files(dir.c_str()), 0);
  test::make_dirs(dir + "/Music");
  EXPECT_EQ(FS_dir_contains_files(dir.c_str()), 1);

  testing::internal::CaptureStderr();
  EXPECT_EQ(FS_dir_contains_files(at("missing").c_str()), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "opendir: No such file or directory\n");
}

TEST_F(FileUtilsTest, EnsureDirsCreatesEachLevelAndStopsAtTheFirstFailure) {
  test::write_file(at("file"), "x");
  EXPECT_EQ(FS_ensure_dir(at("file").c_str(), 0755), 0);  // an existing object of any kind
  EXPECT_EQ(FS_ensure_dir(at("a/b").c_str(), 0755), -1);
  EXPECT_EQ(errno, ENOENT);

  mode_t saved_umask = umask(0);
  EXPECT_EQ(FS_ensure_dirs((at("a") + "//b/c/").c_str(), 0750 | 0x10000), 0);  // only the low 16 bits are a mode
  umask(saved_umask);
  struct stat status;
  for (const char* level : {"a", "a/b", "a/b/c"}) {
    ASSERT_EQ(stat(at(level).c_str(), &status), 0) << level;
    EXPECT_EQ(status.st_mode & 07777, 0750u) << level;
  }
  EXPECT_EQ(FS_ensure_dirs(at("a/b/c").c_str(), 0755), 0);  // all there already

  EXPECT_EQ(FS_ensure_dirs(at("file/sub/deeper").c_str(), 0755), -1);
  EXPECT_EQ(errno, ENOTDIR);
  EXPECT_FALSE(FS_file_exists(at("file/sub").c_str()));
}

TEST_F(FileUtilsTest, ReadingWholeFilesAndParts) {
  std::string file = at("text"), link = at("link"), empty = at("empty");
  test::write_file(file, "0123456789");
  test::write_file(empty, "");
  symlink(file.c_str(), link.c_str());

  char* text = FS_read_string(file.c_str(), 4);
  EXPECT_STREQ(text, "0123");
  free(text);
  text = FS_read_string(file.c_str(), 100);
  EXPECT_STREQ(text, "0123456789");
  free(text);
  text = FS_read_string(file.c_str(), 0);
  EXPECT_STREQ(text, "");
  free(text);
  EXPECT_EQ(FS_read_string(at("missing").c_str(), 10), nullptr);
  EXPECT_EQ(FS_read_string(sandbox.root().c_str(), 10), nullptr);  // a directory reads with an error

  int size = -1;
  text = FS_read_string_unlimited_ext(file.c_str(), &size);
  EXPECT_STREQ(text, "0123456789");
  EXPECT_EQ(size, 10);
  free(text);
  text = FS_read_string_unlimited(empty.c_str());
  EXPECT_STREQ(text, "");
  free(text);
  EXPECT_EQ(FS_read_string_unlimited(link.c_str()), nullptr);  // lstat: a link is refused
  EXPECT_EQ(FS_read_string_unlimited(sandbox.root().c_str()), nullptr);

  char buffer[8];
  memset(buffer, '#', sizeof buffer);
  EXPECT_EQ(FS_read_to_buffer(file.c_str(), 3, buffer, sizeof buffer), 7);
  EXPECT_STREQ(buffer, "3456789");
  EXPECT_EQ(FS_read_to_buffer(file.c_str(), 8, buffer, sizeof buffer), 2);
  EXPECT_STREQ(buffer, "89");
  EXPECT_EQ(FS_read_to_buffer(file.c_str(), 50, buffer, sizeof buffer), 0);
  EXPECT_STREQ(buffer, "");
  EXPECT_EQ(FS_read_to_buffer(file.c_str(), -1, buffer, sizeof buffer), -1);
  EXPECT_EQ(FS_read_to_buffer(at("missing").c_str(), 0, buffer, sizeof buffer), -1);

  test::write_file(file, "first line\nsecond\n");
  EXPECT_EQ(FS_read_one_line(file.c_str(), buffer, sizeof buffer), 1);
  EXPECT_STREQ(buffer, "first l");
  strcpy(buffer, "kept");
  EXPECT_EQ(FS_read_one_line(empty.c_str(), buffer, sizeof buffer), 1);
  EXPECT_STREQ(buffer, "kept");
  EXPECT_EQ(FS_read_one_line(at("missing").c_str(), buffer, sizeof buffer), 0);
}

TEST_F(FileUtilsTest, ReadlinesSplitsOnLineEndsAndLimits) {
  std::string file = at("lines");
  test::write_file(file, "a\r\nb\n\nc");
  using Lines = std::vector<std::string>;
  EXPECT_EQ(readlines(file, 80, 0), (Lines{"a", "b", "", "c"}));
  EXPECT_EQ(readlines(file, 80, 2), (Lines{"a", "b"}));
  test::write_file(file, "0123456789\n");
  EXPECT_EQ(readlines(file, 4, 0), (Lines{"0123", "4567", "89"}));
  test::write_file(file, "0123\n");
  EXPECT_EQ(readlines(file, 4, 0), (Lines{"0123", ""}));  // the line end arrives on its own
  test::write_file(file, "");
  EXPECT_EQ(readlines(file, 80, 0), Lines{});
  string_array* none = FS_readlines(at("missing").c_str(), 80, 0);
  EXPECT_EQ(none, nullptr);
}

TEST_F(FileUtilsTest, WritingReturnsOneOnlyForAWrittenRecord) {
  std::string file = at("out");
  EXPECT_EQ(FS_writestring(file.c_str(), "text"), 1);
  EXPECT_EQ(test::read_file(file), "text");
  EXPECT_EQ(FS_writedata(file.c_str(), "a\0b", 3), 1);
  EXPECT_EQ(test::read_file(file), std::string("a\0b", 3));
  // An empty record is not a written record: the file is truncated, the result is 0.
  EXPECT_EQ(FS_writestring(file.c_str(), ""), 0);
  EXPECT_TRUE(FS_file_exists(file.c_str()));
  EXPECT_EQ(test::read_file(file), "");
  EXPECT_EQ(FS_writedata(at("missing/out").c_str(), "x", 1), 0);

  string_array* lines = string_array_create_empty();
  test::write_file(file, "old");
  EXPECT_EQ(FS_writelines(file.c_str(), lines), 1);
  EXPECT_EQ(test::read_file(file), "");
  string_array_add(lines, "one");
  string_array_add(lines, "");
  string_array_add(lines, "three");
  EXPECT_EQ(FS_writelines(file.c_str(), lines), 1);
  EXPECT_EQ(test::read_file(file), "one\n\nthree\n");
  EXPECT_EQ(FS_writelines(at("missing/out").c_str(), lines), 0);
  if (access("/dev/full", W_OK) == 0) {
    EXPECT_EQ(FS_writedata("/dev/full", "x", 1), 0);  // the write fails at the close
    EXPECT_EQ(FS_writelines("/dev/full", lines), 0);
  }
  string_array_free(lines);

  test::write_file(file, "old");
  EXPECT_EQ(FS_create_empty_file(file.c_str()), 0);
  EXPECT_EQ(test::read_file(file), "");
  testing::internal::CaptureStdout();
  EXPECT_EQ(FS_create_empty_file(at("missing/x").c_str()), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "FS_create_file(): failed to create file " + at("missing/x") + ": No such file or directory");
}

TEST_F(FileUtilsTest, OpenDirectoryTableHoldsOneHundredHandles) {
  std::string dir = at("dir");
  test::make_dirs(dir);
  test::write_file(dir + "/b", "");
  test::write_file(dir + "/a", "");

  std::vector<fs_dir_handle*> handles;
  for (int i = 0; i < 100; ++i) {
    handles.push_back(FS_opendir(dir.c_str()));
    ASSERT_NE(handles.back(), nullptr) << "handle " << i;
  }
  testing::internal::CaptureStderr();
  EXPECT_EQ(FS_opendir(dir.c_str()), nullptr);
  EXPECT_EQ(errno, EMFILE);
  EXPECT_FALSE(FS_dir_exists(dir.c_str()));
  EXPECT_EQ(FS_scandir(dir.c_str()), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Opened dirs limit exceeded\nOpened dirs limit exceeded\nOpened dirs limit exceeded\n");

  // Names belong to their handle: reading one handle leaves the other's name alone.
  const char* first = FS_readdir(handles[0]);
  ASSERT_NE(first, nullptr);
  std::string first_name = first;
  FS_readdir(handles[1]);
  EXPECT_EQ(std::string(first), first_name);

  EXPECT_EQ(FS_closedir(handles[42]), 0);
  fs_dir_handle* again = FS_opendir(dir.c_str());
  EXPECT_EQ(again, handles[42]);  // the freed slot is taken again
  std::vector<std::string> names;
  while (const char* name = FS_readdir(again)) names.push_back(name);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{".", "..", "a", "b"}));
  for (fs_dir_handle* handle : handles) EXPECT_EQ(FS_closedir(handle), 0);
  EXPECT_EQ(FS_closedir(handles[0]), -1);  // already free

  std::vector<std::string> listed = to_vector(FS_scandir(dir.c_str()));
  std::sort(listed.begin(), listed.end());
  EXPECT_EQ(listed, (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(FS_scandir(at("missing").c_str()), nullptr);
}

TEST_F(FileUtilsTest, FileNamesAndExtensions) {
  struct {
    const char* path;
    const char* extension;
    const char* expected;
  } cases[] = {
      {"/x/file.avi", ".srt", "/x/file.srt"}, {"a.tar.gz", ".txt", "a.tar.txt"},
      {"/x.y/file", ".txt", "/x.y/file.txt"}, {"dir.d/file", ".txt", "dir.d/file.txt"},
      {"file", ".txt", "file.txt"},            {"file.", ".txt", "file.txt"},
      {".hidden", ".txt", ".txt"},             {"a.b", "", "a."},
  };
  for (const auto& c : cases) {
    char* result = FS_replace_filename_extension(c.path, c.extension);
    EXPECT_STREQ(result, c.expected) << c.path << " with " << c.extension;
    free(result);
  }

  char name[] = "a:b/c.d?\"%*<>\\|e";
  FS_sanitize_filename(name);
  EXPECT_STREQ(name, "a_b_c_d________e");
  char plain[] = "Song - 01 (live) [2024]'s";
  FS_sanitize_filename(plain);
  EXPECT_STREQ(plain, "Song - 01 (live) [2024]'s");
}

TEST_F(FileUtilsTest, DisableDirectModeClearsOnlyThatFlag) {
  int fd = open(at("direct").c_str(), O_WRONLY | O_CREAT | O_DIRECT, 0600);
  if (fd < 0) GTEST_SKIP() << "this file system refuses O_DIRECT";
  EXPECT_EQ(FS_disable_direct_mode(fd, "direct"), 1);
  int flags = fcntl(fd, F_GETFL);
  EXPECT_EQ(flags & O_DIRECT, 0);
  EXPECT_EQ(flags & O_ACCMODE, O_WRONLY);
  EXPECT_EQ(FS_disable_direct_mode(fd, "direct"), 1);  // nothing to clear
  close(fd);

  testing::internal::CaptureStdout();
  EXPECT_EQ(FS_disable_direct_mode(-1, "closed"), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "fcntl(GET_FLAGS, closed) failed: Bad file descriptor\n");
}

TEST_F(FileUtilsTest, AssertionsNameTheirExpression) {
  std::string file = at("f");
  test::write_file(file, "x");
  EXPECT_DEATH(FS_readlines(file.c_str(), 0, 0),
               "player/src/util/mt/file_utils:[0-9]+: FS_readlines: Assertion `max_line_size > 0' failed\\.");
  EXPECT_DEATH(FS_readlines(file.c_str(), 1, -1), "FS_readlines: Assertion `max_lines >= 0' failed\\.");
  EXPECT_DEATH(FS_writestring(file.c_str(), nullptr), "FS_writestring: Assertion `string' failed\\.");
  EXPECT_DEATH(FS_writelines(file.c_str(), nullptr), "FS_writelines: Assertion `lines' failed\\.");
}

}  // namespace
