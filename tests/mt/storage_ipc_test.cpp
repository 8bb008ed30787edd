// The storage client against a storage daemon in its own process: the tool's stand-in
// daemon, a server that answers "error", and no server at all.
#include <sys/statvfs.h>

#include "test_support.hpp"

namespace {

int (*const kWaiting[])() = {storage_ipc_send_and_wait_suspend_update, storage_ipc_send_and_wait_resume_update,
                             storage_ipc_send_and_wait_eject, storage_ipc_send_and_wait_reset_names};
int send_resume_30() { return storage_ipc_send_resume_update(30); }
int (*const kNotWaiting[])() = {storage_ipc_send_suspend_update,  send_resume_30,
                                storage_ipc_send_eject,           storage_ipc_send_eject_close_tray,
                                storage_ipc_send_power_off_disks, storage_ipc_send_power_on_disks,
                                storage_ipc_send_power_off_eject_device};

class StorageIpc : public test::SandboxTest {
 protected:
  void TearDown() override { storage_ipc_close(); }
  std::vector<long long> disk_space_usage(const std::string& path, int succeeded) {
    long long total = 0, used = 0, avail = 0;
    EXPECT_EQ(succeeded, storage_ipc_send_and_wait_disk_space_usage(path.c_str(), &total, &used, &avail));
    return {total, used, avail};
  }
  const std::vector<long long> unknown = {-1, -1, -1};
};

}  // namespace

TEST_F(StorageIpc, TheStandInDaemonAnswersEveryRequest) {
  std::string usb = sandbox.path("/tmp/mnt/storage/usb1"), out = sandbox.path("/daemon.out");
  test::make_dirs(usb);
  test::expect_tool({{"storage usage /", 1, "vonautil storage: no storage daemon (its IPC directory does not exist)\n"},
                     {"storage usage", 2, ""},
                     {"daemon storage_manager --storage USB", 2, ""},
                     {"daemon storage_manager --storage USB=relative/path", 2, ""},
                     {"daemon storage_manager --storage USB=" + usb + "/missing", 1,
                      "vonautil daemon: storage folder '" + usb + "/missing' does not exist\n", true}});
  std::string command = "exec " VONAUTIL_TOOL " daemon storage_manager --storage USB=" + usb + " >" + out + " 2>&1";
  pid_t daemon = test::spawn([&] { return execl("/bin/sh", "sh", "-c", command.c_str(), (char*)nullptr); });
  for (int i = 0; i < 1000 && test::read_file(out).empty(); ++i) usleep(10000);  // its banner

  ASSERT_TRUE(storage_ipc_open());
  for (auto send : kWaiting) EXPECT_TRUE(send());
  for (auto send : kNotWaiting) EXPECT_TRUE(send());
  struct statvfs fs;
  ASSERT_EQ(0, statvfs(usb.c_str(), &fs));
  std::vector<long long> usage = disk_space_usage(usb, 1);
  EXPECT_EQ((long long)fs.f_blocks * (long long)fs.f_frsize, usage[0]);
  EXPECT_TRUE(usage[1] >= 0 && usage[2] >= 0 && usage[1] + usage[2] <= usage[0]);
  EXPECT_EQ(unknown, disk_space_usage(usb + "/missing", 0));  // answered with "error"
  test::expect_tool({{"storage usage " + usb, 0, "total_bytes = " + std::to_string(usage[0]) + "\nused_bytes = "},
                     {"storage usage " + usb + "/missing", 1,
                      "vonautil storage: the storage daemon gave no disk usage for '" + usb + "/missing'\n"}});

  kill(daemon, SIGTERM);
  EXPECT_EQ(0, test::exit_status(daemon));
  std::string served, output = test::read_file(out);
  std::istringstream lines(output);  // "NAME (process PID, request COUNTER) PARAMETERS"
  for (std::string line; std::getline(lines, line);) {
    if (line.find(" (process ") != std::string::npos) served += line.substr(0, line.find(" (process ")) + " ";
  }
  EXPECT_EQ("suspend_update resume_update eject reset_names suspend_update resume_update eject eject_close_tray "
            "power_off_disks power_on_disks power_off_eject_device disk_space_usage disk_space_usage "
            "disk_space_usage disk_space_usage ",
            served);
  EXPECT_CONTAINS(output, ") timeout=30\n");
  EXPECT_CONTAINS(output, ") path=" + usb + "/missing\n");
}

TEST_F(StorageIpc, ADaemonAnsweringErrorFailsEveryWaitingRequest) {
  test::make_dirs(sandbox.path("/tmp/run/ipc__storage_manager"));
  pid_t daemon = test::spawn([] {  // its answers carry figures, which must not be taken
    simple_ipc_server* ipc = simple_ipc_server_create("storage_manager");
    properties* answer = properties_create_empty();
    properties_build_from_buffer(answer, "status=error\ntotal_bytes=3\nused_bytes=2\navail_bytes=1\n");
    for (;; usleep(1000)) {
      simple_ipc_server_look_for_new_requests(ipc);
      while (simple_ipc_server_get_num_requests(ipc) > 0) {
        simple_ipc_server_finish_request(ipc, simple_ipc_server_get_request(ipc, 0), answer);
      }
    }
    return 0;
  });
  ASSERT_TRUE(storage_ipc_open());
  for (auto send : kWaiting) EXPECT_FALSE(send());
  for (auto send : kNotWaiting) EXPECT_TRUE(send());
  EXPECT_EQ(unknown, disk_space_usage("/", 0));
  storage_ipc_close();  // a closed connection can be opened again
  ASSERT_TRUE(storage_ipc_open());
  EXPECT_EQ(unknown, disk_space_usage("/", 0));
  kill(daemon, SIGKILL);
  test::exit_status(daemon);
}

TEST_F(StorageIpc, WithoutADaemonNothingIsSentAndWaitingEndsAfterTenSeconds) {
  EXPECT_FALSE(storage_ipc_open());
  std::string log = test::captured_stderr([] {
    for (auto send : kWaiting) EXPECT_FALSE(send());
    for (auto send : kNotWaiting) EXPECT_FALSE(send());
  });
  for (const char* name : {"suspend_update", "reset_names", "resume_update", "eject_close_tray", "power_off_disks",
                           "power_on_disks", "power_off_eject_device"}) {
    EXPECT_CONTAINS(log, std::string("] [storage_ipc] command '") + name + "' failed: ipc not opened\n");
  }
  EXPECT_EQ(std::string::npos, log.find("[simple_ipc_client]"));

  // A directory left by a daemon that is gone: nobody answers.
  test::make_dirs(sandbox.path("/tmp/run/ipc__storage_manager"));
  ASSERT_TRUE(storage_ipc_open());
  struct timespec start, end;
  clock_gettime(CLOCK_MONOTONIC, &start);
  log = test::captured_stderr([&] { EXPECT_EQ(unknown, disk_space_usage("/", 0)); });
  clock_gettime(CLOCK_MONOTONIC, &end);
  double seconds = (double)(end.tv_sec - start.tv_sec) + (end.tv_nsec - start.tv_nsec) / 1e9;
  EXPECT_TRUE(seconds >= 9.9 && seconds < 20) << seconds;
  EXPECT_CONTAINS(log, "[storage_ipc] request 'disk_space_usage.");
  EXPECT_CONTAINS(log, "' timed out\n");
}

TEST(StorageIpcDeathTest, OpeningTwiceIsAProgrammingError) {
  test::Sandbox sandbox;
  test::make_dirs(sandbox.path("/tmp/run/ipc__storage_manager"));
  EXPECT_TRUE(storage_ipc_open());
  EXPECT_DEATH(storage_ipc_open(),
               test::assertion_report("player/src/util/mt/storage_ipc", 0, "storage_ipc_open", "!storage_ipc"));
  storage_ipc_close();
}
