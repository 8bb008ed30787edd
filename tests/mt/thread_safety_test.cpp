// The thread-safe modules run from many threads at once, each thread checking its results
// against the single-threaded answer. Built with ThreadSanitizer (make tsan) the same runs
// also show any unsynchronised access.
#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>

#include "test_support.hpp"

namespace {

constexpr int kThreads = 8;

// Runs body(thread number) on kThreads threads that start together; returns the number of
// threads whose body reported a failure.
int run_together(const std::function<bool(int)>& body) {
  std::atomic<int> waiting{kThreads}, failures{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (--waiting; waiting.load() > 0;) std::this_thread::yield();
      if (!body(t)) ++failures;
    });
  }
  for (std::thread& thread : threads) thread.join();
  return failures.load();
}

std::vector<std::string> sorted(const string_array* names) {
  std::vector<std::string> out(names->items, names->items + names->size);
  std::sort(out.begin(), out.end());
  return out;
}

}  // namespace

TEST(ThreadSafety, EncodingsAndSortOrderGiveEveryThreadTheSameAnswers) {
  const char* samples[] = {"\xD0\x9F\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82", "caf\xC3\xA9", "\xE4\xB8\xAD\xE6\x96\x87",
                           "\xED\x95\x9C\xEA\xB8\x80", "\xCE\x91\xCE\xBB\xCE\xAD\xCE\xBE\xCE\xB7\xCF\x82"};
  std::vector<std::string> expected;
  for (const char* sample : samples) {
    for (int enc = 0; enc < 13; ++enc) {
      char* holder = nullptr;
      expected.push_back(MY_convert_string_to_external(&holder, sample, enc));
      free(holder);
    }
  }
  EXPECT_EQ(0, run_together([&](int t) {
    bool ok = true;
    for (int round = 0; round < 40; ++round) {
      size_t i = 0;
      for (const char* sample : samples) {
        for (int enc = 0; enc < 13; ++enc, ++i) {
          char* holder = nullptr;
          ok &= expected[i] == MY_convert_string_to_external(&holder, sample, enc);
          free(holder);
        }
        ok &= utf8_strcmp(sample, samples[(t + round) % 5]) == -utf8_strcmp(samples[(t + round) % 5], sample);
      }
      // The pool of shared strings is per thread: this thread's last strings stay its own.
      const char* mine = debug_get_shared_string(sprintf_new("thread %d round %d", t, round));
      for (int k = 0; k < 15; ++k) debug_get_shared_string(sprintf_new("%d", k));
      ok &= strcmp(mine, ("thread " + std::to_string(t) + " round " + std::to_string(round)).c_str()) == 0;
    }
    return ok;
  }));
}

TEST(ThreadSafety, SettingsAreSharedByAllThreads) {
  const char* languages[] = {"russian", "hebrew", "greek", "english"};
  EXPECT_EQ(0, run_together([&](int t) {
    bool ok = true;
    for (int round = 0; round < 200; ++round) {
      if (t % 2 == 0) settings_provider_set_interface_language(languages[(t / 2 + round) % 4]);
      const char* now = settings_provider_get_interface_language();
      ok &= std::find_if(std::begin(languages), std::end(languages),
                         [&](const char* l) { return strcmp(l, now) == 0; }) != std::end(languages);
    }
    return ok;
  }));
  settings_provider_reset();
}

TEST(ThreadSafety, FilesDirectoriesAndSavesFromManyThreads) {
  test::Sandbox sandbox;
  test::LogLock log_lock;
  std::string shared = sandbox.path("/shared");
  test::make_dirs(shared);
  for (int i = 0; i < 20; ++i) test::write_file(shared + "/f" + std::to_string(i), "x");
  string_array* listing = FS_scandir(shared.c_str());
  ASSERT_NE(nullptr, listing);
  std::vector<std::string> names = sorted(listing);
  string_array_free(listing);
  EXPECT_EQ(0, run_together([&](int t) {
    bool ok = true;
    std::string own = sandbox.path("/t" + std::to_string(t));
    for (int round = 0; round < 20; ++round) {
      // The process-wide table of open directories.
      fs_dir_handle* dir = FS_opendir(shared.c_str());
      ok &= dir != nullptr;
      int entries = 0;
      while (dir != nullptr && FS_readdir(dir) != nullptr) ++entries;
      ok &= dir != nullptr && FS_closedir(dir) == 0 && entries >= 20;
      string_array* seen = FS_scandir(shared.c_str());
      ok &= seen != nullptr && sorted(seen) == names;
      string_array_free(seen);
      // Atomic saves, copies and removals of each thread's own files.
      properties* p = properties_create_empty();
      properties_set_int(p, "round", round);
      ok &= properties_safe_save_to_internal_file(p, (own + ".properties").c_str(), 1) == 0;
      properties_free(p);
      properties* back = properties_load_from_internal_file((own + ".properties").c_str());
      ok &= back != nullptr && properties_get_int(back, "round", -1) == round;
      properties_free(back);
      ok &= FS_copy_recursively_verbatim(shared.c_str(), own.c_str(), 0, 0) == 1;
      ok &= FS_remove_recursively_if_exists(own.c_str()) == 0;
    }
    return ok;
  }));
}

namespace {

// Runs `change` over and over on one more thread while body runs on kThreads threads.
int run_together_while_changing(const std::function<bool(int)>& body, const std::function<void(int)>& change) {
  std::atomic<bool> done{false};
  std::thread changer([&] {
    for (int round = 0; !done.load(); ++round) change(round);
  });
  int failures = run_together(body);
  done = true;
  changer.join();
  return failures;
}

}  // namespace

TEST(ThreadSafety, MountCacheLookupsWhileTheCacheIsRebuilt) {
  test::Sandbox sandbox;
  test::make_dirs(sandbox.path("/proc"));
  test::make_dirs(sandbox.path("/tmp/mnt"));
  test::write_file(sandbox.path("/proc/mounts"), "/dev/sda1 /tmp/mnt/storage/sda1 ext3 rw 0 0\n"
                                                 "/dev/sdb1 /tmp/mnt/storage/usb1 tntfs rw 0 0\n"
                                                 "//nas/Photos /tmp/mnt/storage/sda1/Photos cifs rw 0 0\n");
  symlink("/tmp/mnt/storage/usb1", sandbox.path("/tmp/mnt/D").c_str());
  struct Row { const char *path, *type; } rows[] = {
      {"/tmp/mnt/storage/sda1/a.mkv", "ext3"}, {"/tmp/mnt/storage/sda1/Photos/x", "cifs"},
      {"/tmp/video.ts", "unknown"}};
  mount_cache_update();
  auto lookups = [&](int) {
    for (int round = 0; round < 300; ++round) {
      for (const Row& row : rows) {
        char type[16], main_target[16] = "";
        mount_cache_get_mount_type_str(type, sizeof type, row.path);
        mount_cache_get_main_mount_target(main_target, sizeof main_target);
        if (strcmp(type, row.type) != 0 || strcmp(main_target, "/tmp/mnt/D") != 0) return false;
      }
    }
    return true;
  };
  EXPECT_EQ(0, run_together_while_changing(lookups, [](int round) {
              round % 2 ? mount_cache_set_dirty() : mount_cache_update();
            }));
}

TEST(ThreadSafety, StorageCacheLookupsWhileTheCacheIsReloaded) {
  test::Sandbox sandbox;
  test::make_dirs(sandbox.path("/tmp/run"));
  struct Row { const char *mount_path, *name, *uuid, *label; } rows[] = {
      {"/tmp/mnt/storage/sda1", "Disk", "4A2F-11C0", "MOVIES"},
      {"/tmp/mnt/storage/usb1", "USB", "0119-F18B", "KINGSTON"},
      {"/tmp/mnt/storage/SD Card", "SD", "E87E-B206", "CANON"}};
  storage_cache_reset();
  for (const Row& row : rows) storage_cache_add_storage(row.mount_path, row.name, row.uuid, row.label);
  storage_cache_save();
  auto same = [](char* found, const char* expected) {
    bool equal = found && strcmp(found, expected) == 0;
    free(found);
    return equal;
  };
  auto lookups = [&](int) {
    for (int round = 0; round < 300; ++round) {
      for (const Row& row : rows) {
        if (!same(storage_cache_get_mount_path_by_name(row.name), row.mount_path) ||
            !same(storage_cache_get_mount_path_by_uuid(row.uuid), row.mount_path) ||
            !same(storage_cache_get_mount_path_by_label(row.label), row.mount_path)) {
          return false;
        }
      }
    }
    return true;
  };
  EXPECT_EQ(0, run_together_while_changing(lookups, [&](int round) {
              const Row& row = rows[round % 3];
              if (round % 3 == 0) storage_cache_load();
              else storage_cache_add_storage(row.mount_path, row.name, row.uuid, row.label);
              if (round % 5 == 0) storage_cache_save();
            }));
}
