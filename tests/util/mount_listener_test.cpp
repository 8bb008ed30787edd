// Mount listeners: callbacks of each kind run in registration order with the mount point,
// after the log line; each registry holds 100.
#include "test_support.hpp"

namespace {

std::vector<std::string> calls;

void on_mount_a(const char* path) { calls.push_back(std::string("mount a ") + path); }
void on_mount_b(const char* path) { calls.push_back(std::string("mount b ") + path); }
void on_umount(const char* path) { calls.push_back(std::string("umount ") + path); }
void on_umount_b(const char* path) { calls.push_back(std::string("umount b ") + path); }

// The message part of each log line.
std::vector<std::string> messages(const std::string& log) {
  std::vector<std::string> out;
  std::istringstream lines(log);
  for (std::string line; std::getline(lines, line);) out.push_back(line.substr(line.find("] [MOUNT]") + 2));
  return out;
}

}  // namespace

TEST(MountListener, FiresEachKindInRegistrationOrder) {
  std::string log = test::captured_stderr([] { fire_mount_performed("/tmp/mnt/storage/usb1"); });
  EXPECT_EQ(std::vector<std::string>{"[MOUNT] Running fireMountPerformed('/tmp/mnt/storage/usb1')"}, messages(log));
  EXPECT_TRUE(calls.empty());
  register_mount_callback(on_mount_b);
  register_mount_callback(on_mount_a);
  register_umount_callback(on_umount);
  register_mount_callback(on_mount_b);
  register_umount_callback(on_umount_b);
  log = test::captured_stderr([] {
    fire_mount_performed("/tmp/mnt/smb/my share");
    fire_umount_performed("/tmp/mnt/storage/usb1");
  });
  EXPECT_EQ((std::vector<std::string>{"[MOUNT] Running fireMountPerformed('/tmp/mnt/smb/my share')",
                                      "[MOUNT] Running fireUmountPerformed('/tmp/mnt/storage/usb1')"}),
            messages(log));
  EXPECT_EQ((std::vector<std::string>{"mount b /tmp/mnt/smb/my share", "mount a /tmp/mnt/smb/my share",
                                      "mount b /tmp/mnt/smb/my share", "umount /tmp/mnt/storage/usb1",
                                      "umount b /tmp/mnt/storage/usb1"}),
            calls);
}

TEST(MountListenerDeathTest, NullOrHundredAndFirstCallbackIsAProgrammingError) {
  const std::string module = "player/src/util/mount_listener";
  EXPECT_DEATH(register_mount_callback(nullptr),
               test::assertion_report(module, 0, "register_mount_callback", "mount_callback"));
  EXPECT_DEATH(register_umount_callback(nullptr),
               test::assertion_report(module, 0, "register_umount_callback", "umount_callback"));
  EXPECT_DEATH(
      {
        for (int i = 0; i < MAX_MOUNT_LISTENERS; ++i) register_mount_callback(on_mount_a);
        fprintf(stderr, "hundred registered\n");
        register_mount_callback(on_mount_a);
      },
      "hundred registered\n" +
          test::assertion_report(module, 0, "register_mount_callback", "num_mount_callbacks < MAX_MOUNT_LISTENERS"));
  EXPECT_DEATH(
      {
        for (int i = 0; i < MAX_MOUNT_LISTENERS; ++i) register_umount_callback(on_umount);
        fprintf(stderr, "hundred registered\n");
        register_umount_callback(on_umount);
      },
      "hundred registered\n" +
          test::assertion_report(module, 0, "register_umount_callback", "num_umount_callbacks < MAX_MOUNT_LISTENERS"));
}
