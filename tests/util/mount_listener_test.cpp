// Mount listeners: callbacks of each kind run in registration order with the mount point,
// after the log line; each registry holds 100.
#include "test_support.hpp"

namespace {

std::string calls;
void on_mount_a(const char* path) { calls += std::string("mount a ") + path + "\n"; }
void on_mount_b(const char* path) { calls += std::string("mount b ") + path + "\n"; }
void on_umount(const char* path) { calls += std::string("umount ") + path + "\n"; }
void on_umount_b(const char* path) { calls += std::string("umount b ") + path + "\n"; }

}  // namespace

TEST(MountListener, FiresEachKindInRegistrationOrder) {
  std::string log = test::captured_stderr([] { fire_mount_performed("/tmp/mnt/storage/usb1"); });
  EXPECT_EQ("[MOUNT] Running fireMountPerformed('/tmp/mnt/storage/usb1')\n", test::log_messages(log));
  EXPECT_EQ("", calls);
  register_mount_callback(on_mount_b);
  register_mount_callback(on_mount_a);
  register_umount_callback(on_umount);
  register_mount_callback(on_mount_b);
  register_umount_callback(on_umount_b);
  log = test::captured_stderr([] {
    fire_mount_performed("/tmp/mnt/smb/my share");
    fire_umount_performed("/tmp/mnt/storage/usb1");
  });
  EXPECT_EQ("[MOUNT] Running fireMountPerformed('/tmp/mnt/smb/my share')\n"
            "[MOUNT] Running fireUmountPerformed('/tmp/mnt/storage/usb1')\n",
            test::log_messages(log));
  EXPECT_EQ("mount b /tmp/mnt/smb/my share\nmount a /tmp/mnt/smb/my share\n"
            "mount b /tmp/mnt/smb/my share\numount /tmp/mnt/storage/usb1\numount b /tmp/mnt/storage/usb1\n",
            calls);
}

TEST(MountListenerDeathTest, NullOrHundredAndFirstCallbackIsAProgrammingError) {
  struct Kind {
    void (*register_callback)(mount_listener_func);
    std::string name;  // "mount" or "umount"
  } kinds[] = {{register_mount_callback, "mount"}, {register_umount_callback, "umount"}};
  for (const Kind& k : kinds) {
    std::string function = "register_" + k.name + "_callback";
    EXPECT_DEATH(k.register_callback(nullptr),
                 test::assertion_report("player/src/util/mount_listener", 0, function, k.name + "_callback"));
    EXPECT_DEATH(
        {
          for (int i = 0; i < MAX_MOUNT_LISTENERS; ++i) k.register_callback(on_mount_a);
          fprintf(stderr, "hundred registered\n");
          k.register_callback(on_mount_a);
        },
        "hundred registered\n" + test::assertion_report("player/src/util/mount_listener", 0, function,
                                                         "num_" + k.name + "_callbacks < MAX_MOUNT_LISTENERS"));
  }
}
