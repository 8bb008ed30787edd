#include <algorithm>
#include <cerrno>

#include "test_support.hpp"

namespace {

using Lines = std::vector<std::string>;

class FileUtilsTest : public test::SandboxTest {
 protected:
  std::string at(const std::string& name) const { return sandbox.root() + "/" + name; }
};

Lines take(string_array* array) {
  Lines items(array ? array->items : nullptr, array ? array->items + array->size : nullptr);
  string_array_free(array);
  return items;
}

TEST_F(FileUtilsTest, PredicatesAndDirectories) {
  test::write_file(at("file"), "x");
  test::make_dirs(at("disk/lost+found"));
  ASSERT_EQ(FS_soft_link("file", at("link").c_str()), 0);
  ASSERT_EQ(FS_soft_link("missing", at("dangling").c_str()), 0);
  EXPECT_TRUE(FS_file_exists(at("disk").c_str()) && FS_file_exists(at("link").c_str()));
  EXPECT_FALSE(FS_file_exists(at("dangling").c_str()) || FS_path_exists(at("missing").c_str()));
  EXPECT_TRUE(FS_path_exists(at("file").c_str()) && FS_dir_exists(at("disk").c_str()));
  EXPECT_FALSE(FS_dir_exists(at("file").c_str()) || FS_is_dir(at("file").c_str()));
  EXPECT_TRUE(FS_is_regular_file(at("link").c_str()) && !FS_is_regular_file(at("disk").c_str()));
  EXPECT_EQ(FS_dir_contains_files(at("disk").c_str()), 0);  // lost+found does not count
  test::make_dirs(at("disk/Music"));
  EXPECT_EQ(FS_dir_contains_files(at("disk").c_str()), 1);
  testing::internal::CaptureStderr();
  EXPECT_EQ(FS_dir_contains_files(at("missing").c_str()), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "opendir: No such file or directory\n");

  EXPECT_EQ(FS_ensure_dir(at("file").c_str(), 0755), 0);  // an existing object of any kind
  EXPECT_EQ(FS_ensure_dir(at("a/b").c_str(), 0755), -1);
  mode_t saved_umask = umask(0);
  EXPECT_EQ(FS_ensure_dirs((at("a") + "//b/c/").c_str(), 0750 | 0x10000), 0);  // the low 16 bits are the mode
  umask(saved_umask);
  struct stat status;
  for (const char* level : {"a", "a/b", "a/b/c"}) {
    EXPECT_TRUE(stat(at(level).c_str(), &status) == 0 && (status.st_mode & 07777) == 0750) << level;
  }
  EXPECT_EQ(FS_ensure_dirs(at("file/sub/deeper").c_str(), 0755), -1);
  EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(FileUtilsTest, ReadingWholeFilesAndParts) {
  test::write_file(at("text"), "0123456789");
  test::write_file(at("empty"), "");
  symlink(at("text").c_str(), at("link").c_str());
  auto read = test::take_string;
  EXPECT_EQ(read(FS_read_string(at("text").c_str(), 4)), "0123");
  EXPECT_EQ(read(FS_read_string(at("text").c_str(), 0)), "");
  EXPECT_EQ(read(FS_read_string(sandbox.root().c_str(), 10)), "(null)");  // a read error
  int size = -1;
  EXPECT_EQ(read(FS_read_string_unlimited_ext(at("text").c_str(), &size)), "0123456789");
  EXPECT_EQ(size, 10);
  EXPECT_EQ(read(FS_read_string_unlimited(at("empty").c_str())), "");
  EXPECT_EQ(read(FS_read_string_unlimited(at("link").c_str())), "(null)");  // lstat refuses the link

  char buffer[8] = "#######";
  EXPECT_EQ(FS_read_to_buffer(at("text").c_str(), 3, buffer, sizeof buffer), 7);
  EXPECT_STREQ(buffer, "3456789");
  EXPECT_EQ(FS_read_to_buffer(at("text").c_str(), 8, buffer, sizeof buffer), 2);
  EXPECT_STREQ(buffer, "89");
  EXPECT_EQ(FS_read_to_buffer(at("text").c_str(), -1, buffer, sizeof buffer), -1);
  EXPECT_EQ(FS_read_one_line(at("text").c_str(), buffer, sizeof buffer), 1);
  EXPECT_STREQ(buffer, "0123456");
  EXPECT_EQ(FS_read_one_line(at("empty").c_str(), buffer, sizeof buffer), 1);  // buffer untouched
  EXPECT_STREQ(buffer, "0123456");
  EXPECT_EQ(FS_read_one_line(at("missing").c_str(), buffer, sizeof buffer), 0);

  test::write_file(at("lines"), "a\r\nb\n\nc");
  EXPECT_EQ(take(FS_readlines(at("lines").c_str(), 80, 0)), (Lines{"a", "b", "", "c"}));
  EXPECT_EQ(take(FS_readlines(at("lines").c_str(), 80, 2)), (Lines{"a", "b"}));
  test::write_file(at("lines"), "0123456789\n0123\n");
  EXPECT_EQ(take(FS_readlines(at("lines").c_str(), 4, 0)), (Lines{"0123", "4567", "89", "0123", ""}));
  EXPECT_EQ(take(FS_readlines(at("empty").c_str(), 80, 0)), Lines{});
}

TEST_F(FileUtilsTest, WritingReturnsOneOnlyForAWrittenRecord) {
  std::string file = at("out");
  EXPECT_EQ(FS_writedata(file.c_str(), "a\0b", 3), 1);
  EXPECT_EQ(test::read_file(file), std::string("a\0b", 3));
  EXPECT_EQ(FS_writestring(file.c_str(), ""), 0);  // no record written, yet the file is truncated
  EXPECT_TRUE(FS_file_exists(file.c_str()) && test::read_file(file).empty());
  string_array* lines = string_array_create_empty();
  test::write_file(file, "old");
  EXPECT_EQ(FS_writelines(file.c_str(), lines), 1);
  EXPECT_EQ(test::read_file(file), "");
  for (const char* line : {"one", "", "three"}) string_array_add(lines, line);
  EXPECT_EQ(FS_writelines(file.c_str(), lines), 1);
  EXPECT_EQ(test::read_file(file), "one\n\nthree\n");
  EXPECT_EQ(FS_writelines(at("missing/out").c_str(), lines) + FS_writestring(at("missing/out").c_str(), "x"), 0);
  if (access("/dev/full", W_OK) == 0) {  // the buffered write fails at the close
    EXPECT_EQ(FS_writestring("/dev/full", "x") + FS_writelines("/dev/full", lines), 0);
  }
  string_array_free(lines);

  EXPECT_EQ(FS_create_empty_file(file.c_str()), 0);
  testing::internal::CaptureStdout();
  EXPECT_EQ(FS_create_empty_file(at("missing/x").c_str()), -1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "FS_create_file(): failed to create file " + at("missing/x") + ": No such file or directory");
}

TEST_F(FileUtilsTest, OpenDirectoryTableHoldsOneHundredHandles) {
  test::make_dirs(at("dir"));
  test::write_file(at("dir/b"), "");
  test::write_file(at("dir/a"), "");
  std::vector<fs_dir_handle*> handles;
  for (int i = 0; i < 100; ++i) handles.push_back(FS_opendir(at("dir").c_str()));
  EXPECT_EQ(std::count(handles.begin(), handles.end(), nullptr), 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(FS_opendir(at("dir").c_str()), nullptr);
  EXPECT_EQ(errno, EMFILE);
  EXPECT_FALSE(FS_dir_exists(at("dir").c_str()));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Opened dirs limit exceeded\nOpened dirs limit exceeded\n");

  const char* kept = FS_readdir(handles[0]);
  std::string name = kept;
  FS_readdir(handles[1]);  // another handle's name lives apart
  EXPECT_EQ(kept, name);
  EXPECT_EQ(FS_closedir(handles[42]), 0);
  EXPECT_EQ(FS_opendir(at("dir").c_str()), handles[42]);  // the freed slot is taken again
  for (fs_dir_handle* handle : handles) EXPECT_EQ(FS_closedir(handle), 0);
  EXPECT_EQ(FS_closedir(handles[0]), -1);
  test::write_file(at("dir/.h"), "");  // only "." and ".." are left out
  test::write_file(at("dir/..x"), "");
  Lines names = take(FS_scandir(at("dir").c_str()));
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (Lines{"..x", ".h", "a", "b"}));
  EXPECT_EQ(FS_scandir(at("missing").c_str()), nullptr);
}

TEST_F(FileUtilsTest, NamesAndDescriptors) {
  const char* cases[][3] = {{"/x/file.avi", ".srt", "/x/file.srt"}, {"a.tar.gz", ".txt", "a.tar.txt"},
                            {"/x.y/file", ".txt", "/x.y/file.txt"}, {"file", ".txt", "file.txt"},
                            {".hidden", ".txt", ".txt"}};
  for (const auto& c : cases) EXPECT_EQ(test::take_string(FS_replace_filename_extension(c[0], c[1])), c[2]) << c[0];
  char name[] = "a:b/c.d?\"%*<>\\|e (1)";
  FS_sanitize_filename(name);
  EXPECT_STREQ(name, "a_b_c_d________e (1)");

  int fd = open(at("direct").c_str(), O_WRONLY | O_CREAT | O_DIRECT, 0600);
  if (fd >= 0) {  // some file systems refuse O_DIRECT
    EXPECT_EQ(FS_disable_direct_mode(fd, "direct") + FS_disable_direct_mode(fd, "direct"), 2);
    EXPECT_EQ(fcntl(fd, F_GETFL) & (O_DIRECT | O_ACCMODE), O_WRONLY);
    close(fd);
  }
  testing::internal::CaptureStdout();
  EXPECT_EQ(FS_disable_direct_mode(-1, "closed"), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "fcntl(GET_FLAGS, closed) failed: Bad file descriptor\n");
}

// Movie files over 2 GiB on a 32-bit box: listed, walked, stat'ed and read beyond 2 GiB. A
// sparse file costs no disk space.
TEST_F(FileUtilsTest, FilesBeyondTwoGibibytes) {
  const long long size = 5LL << 30, marker_offset = (4LL << 30) + 3;
  test::make_dirs(at("movies"));
  const std::string movie = at("movies/big.mkv");
  int fd = open(movie.c_str(), O_WRONLY | O_CREAT, 0644);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(ftruncate(fd, size), 0);
  ASSERT_EQ(pwrite(fd, "marker", 6, marker_offset), 6);
  close(fd);

  struct stat status;
  ASSERT_EQ(FS_stat(movie.c_str(), &status), 0);
  EXPECT_EQ(status.st_size, size);
  ASSERT_EQ(FS_lstat(movie.c_str(), &status), 0);
  EXPECT_EQ(status.st_size, size);
  char buffer[8];
  EXPECT_EQ(FS_read_to_buffer(movie.c_str(), marker_offset, buffer, sizeof buffer), 7);
  EXPECT_STREQ(buffer, "marker");
  EXPECT_EQ(FS_read_to_buffer(movie.c_str(), size - 2, buffer, sizeof buffer), 2);
  EXPECT_EQ(FS_read_to_buffer(movie.c_str(), size + 10, buffer, sizeof buffer), 0);

  EXPECT_EQ(take(FS_scandir(at("movies").c_str())), Lines{"big.mkv"});
  std::vector<std::pair<std::string, long long>> seen;
  auto record = [](const char* path, const struct stat* status, void* context) {
    static_cast<decltype(seen)*>(context)->emplace_back(path, (long long)status->st_size);
    return (int)FS_VISIT_CONTINUE;
  };
  EXPECT_EQ(FS_iterate_recursively(at("movies").c_str(), FS_ITER_PRE_ORDER, record, &seen), 0);
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_EQ(seen[1], std::make_pair(movie, size));
}

TEST_F(FileUtilsTest, AssertionsNameTheirExpression) {
  test::write_file(at("f"), "x");
  EXPECT_DEATH(FS_readlines(at("f").c_str(), 0, 0),
               "player/src/util/mt/file_utils:[0-9]+: FS_readlines: Assertion `max_line_size > 0' failed\\.");
  EXPECT_DEATH(FS_readlines(at("f").c_str(), 1, -1), "FS_readlines: Assertion `max_lines >= 0' failed\\.");
  EXPECT_DEATH(FS_writestring(at("f").c_str(), nullptr), "FS_writestring: Assertion `string' failed\\.");
  EXPECT_DEATH(FS_writelines(at("f").c_str(), nullptr), "FS_writelines: Assertion `lines' failed\\.");
}

}  // namespace
