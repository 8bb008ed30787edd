// Mount listeners: callbacks of each kind run in registration order with the mount point,
// after the log line; each registry holds 100.
#include "test_support.hpp"

namespace {

std::string calls;
void on_a(const char* path) { calls += std::string("a ") + path + "\n"; }
void on_b(const char* path) { calls += std::string("b ") + path + "\n"; }

}  // namespace

TEST(MountListener, FiresEachKindInRegistrationOrder) {
  for (auto callback : {on_b, on_a, on_b}) register_mount_callback(callback);
  for (auto callback : {on_a, on_b}) register_umount_callback(callback);
  std::string log = test::captured_stderr([] {
    fire_mount_performed("/tmp/mnt/smb/my share");
    fire_umount_performed("/tmp/mnt/storage/usb1");
  });
  EXPECT_EQ("[MOUNT] Running fireMountPerformed('/tmp/mnt/smb/my share')\n"
            "[MOUNT] Running fireUmountPerformed('/tmp/mnt/storage/usb1')\n",
            test::log_messages(log));
  EXPECT_EQ("b /tmp/mnt/smb/my share\na /tmp/mnt/smb/my share\nb /tmp/mnt/smb/my share\n"
            "a /tmp/mnt/storage/usb1\nb /tmp/mnt/storage/usb1\n",
            calls);
}

TEST(MountListenerDeathTest, NullOrHundredAndFirstCallbackIsAProgrammingError) {
  for (std::string kind : {"mount", "umount"}) {
    auto register_callback = kind == "mount" ? register_mount_callback : register_umount_callback;
    std::string function = "register_" + kind + "_callback", module = "player/src/util/mount_listener";
    EXPECT_DEATH(register_callback(nullptr), test::assertion_report(module, 0, function, kind + "_callback"));
    auto hundred_and_one = [&] {
      for (int i = 0; i < MAX_MOUNT_LISTENERS; ++i) register_callback(on_a);
      fprintf(stderr, "hundred registered\n");
      register_callback(on_a);
    };
    std::string full = "num_" + kind + "_callbacks < MAX_MOUNT_LISTENERS";
    EXPECT_DEATH(hundred_and_one(), "hundred registered\n" + test::assertion_report(module, 0, function, full));
  }
}
