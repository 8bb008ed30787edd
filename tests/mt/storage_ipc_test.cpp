// The storage client against a storage daemon in its own process: the tool's stand-in
// daemon, a server that answers "error", and no server at all.
#include <signal.h>
#include <sys/statvfs.h>
#include <sys/wait.h>

#include "test_support.hpp"

namespace {

// A server process started through the shell (the tool may need an emulator), its output in
// a file of the sandbox.
class Server {
 public:
  Server(const test::Sandbox& sandbox, const std::string& arguments) : output_(sandbox.path("/server.out")) {
    std::string command = "exec " VONAUTIL_TOOL " " + arguments + " >'" + output_ + "' 2>&1";
    pid_ = fork();
    if (pid_ == 0) {
      execl("/bin/sh", "sh", "-c", command.c_str(), (char*)nullptr);
      _exit(127);
    }
    // Ready once it has printed its banner, after publishing and making its directory.
    for (int i = 0; i < 1000 && test::read_file(output_).empty(); ++i) usleep(10000);
  }
  ~Server() { stop(); }
  // Stops it; its exit status.
  int stop() {
    if (pid_ <= 0) return exit_status_;
    kill(pid_, SIGTERM);
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    exit_status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return exit_status_;
  }
  std::string output() const { return test::read_file(output_); }
  // Waits until the server has printed `text`.
  bool wait_for(const std::string& text) const {
    for (int i = 0; i < 500; ++i, usleep(10000)) {
      if (output().find(text) != std::string::npos) return true;
    }
    return false;
  }

 private:
  std::string output_;
  pid_t pid_ = -1;
  int exit_status_ = -1;
};

class StorageIpc : public test::SandboxTest {
 protected:
  void SetUp() override {
    xml_document_initialize();
    usb = sandbox.path("/tmp/mnt/storage/usb1");
    sd = sandbox.path("/tmp/mnt/storage/sd card");
    test::make_dirs(usb);
    test::make_dirs(sd);
  }
  void TearDown() override { storage_ipc_close(); }
  std::string usb, sd;
};

// The request names that a server printed, in serving order.
std::vector<std::string> served(const std::string& output) {
  std::vector<std::string> names;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    size_t paren = line.find(" (process ");
    if (paren != std::string::npos) names.push_back(line.substr(0, paren) + line.substr(line.find(')') + 1));
  }
  return names;
}

int (*const kWaiting[])() = {storage_ipc_send_and_wait_suspend_update, storage_ipc_send_and_wait_resume_update,
                             storage_ipc_send_and_wait_eject, storage_ipc_send_and_wait_reset_names};

int send_resume_30() { return storage_ipc_send_resume_update(30); }
int (*const kNotWaiting[])() = {storage_ipc_send_suspend_update,   send_resume_30,
                                storage_ipc_send_eject,            storage_ipc_send_eject_close_tray,
                                storage_ipc_send_power_off_disks,  storage_ipc_send_power_on_disks,
                                storage_ipc_send_power_off_eject_device};

}  // namespace

TEST_F(StorageIpc, TheStandInDaemonPublishesItsStoragesAndAnswersEveryRequest) {
  Server daemon(sandbox, "daemon storage_manager --storage USB=" + usb + " --storage 'SD card=" + sd + "'");
  // The published list and cache.
  storage_info_list* list = storage_info_list_create();
  ASSERT_TRUE(storage_info_list_load(list));
  ASSERT_EQ(2, list->num_items);
  EXPECT_STREQ("USB", list->items[0]->name);
  EXPECT_EQ(usb, list->items[0]->mount_path);
  EXPECT_EQ(sd, storage_info_list_find_by_name(list, "SD card")->mount_path);
  ASSERT_NE(nullptr, list->items[1]->uuid);
  storage_cache_load();
  EXPECT_EQ(sd, test::take_string(storage_cache_get_mount_path_by_uuid(list->items[1]->uuid)));
  EXPECT_EQ(usb, test::take_string(storage_cache_get_mount_path_by_label("USB")));
  storage_info_list_free(list);

  ASSERT_TRUE(storage_ipc_open());
  for (auto send : kWaiting) EXPECT_TRUE(send());
  for (auto send : kNotWaiting) EXPECT_TRUE(send());
  long long total = 0, used = 0, avail = 0;
  ASSERT_TRUE(storage_ipc_send_and_wait_disk_space_usage(usb.c_str(), &total, &used, &avail));
  struct statvfs fs;
  ASSERT_EQ(0, statvfs(usb.c_str(), &fs));
  EXPECT_EQ((long long)fs.f_blocks * (long long)fs.f_frsize, total);
  EXPECT_GE(used, 0);
  EXPECT_GE(avail, 0);
  EXPECT_LE(used + avail, total);
  // A path the daemon cannot measure is answered with "error".
  EXPECT_FALSE(storage_ipc_send_and_wait_disk_space_usage((usb + "/missing").c_str(), &total, &used, &avail));
  EXPECT_EQ(-1, total);
  EXPECT_EQ(-1, used);
  EXPECT_EQ(-1, avail);

  EXPECT_EQ(0, daemon.stop());
  EXPECT_EQ((std::vector<std::string>{"suspend_update", "resume_update", "eject", "reset_names", "suspend_update",
                                      "resume_update timeout=30", "eject", "eject_close_tray", "power_off_disks",
                                      "power_on_disks", "power_off_eject_device", "disk_space_usage path=" + usb,
                                      "disk_space_usage path=" + usb + "/missing"}),
            served(daemon.output()));
  // What it published goes with it; its storages stay.
  EXPECT_FALSE(FS_path_exists(sandbox.path("/tmp/run/storage_list.xml").c_str()));
  EXPECT_FALSE(FS_path_exists(sandbox.path("/tmp/run/storages.txt").c_str()));
  EXPECT_TRUE(FS_is_dir(usb.c_str()));
}

TEST_F(StorageIpc, ADaemonAnsweringErrorFailsEveryWaitingRequest) {
  Server daemon(sandbox, "ipc serve storage_manager --status error");
  ASSERT_TRUE(storage_ipc_open());
  for (auto send : kWaiting) EXPECT_FALSE(send());
  for (auto send : kNotWaiting) EXPECT_TRUE(send());
  long long total = 0, used = 0, avail = 0;
  EXPECT_FALSE(storage_ipc_send_and_wait_disk_space_usage("/", &total, &used, &avail));
  EXPECT_EQ(-1, total + used + avail + 2);
  EXPECT_TRUE(daemon.wait_for("disk_space_usage"));
  EXPECT_EQ(0, daemon.stop());

  // Figures in a failed answer are not taken; a closed connection can be opened again.
  storage_ipc_close();
  ASSERT_TRUE(storage_ipc_open());
  pid_t server = fork();
  if (server == 0) {
    simple_ipc_server* ipc = simple_ipc_server_create("storage_manager");
    for (int i = 0; i < 5000 && simple_ipc_server_get_num_requests(ipc) == 0; ++i, usleep(1000)) {
      simple_ipc_server_look_for_new_requests(ipc);
    }
    properties* response = properties_create_empty();
    properties_build_from_buffer(response, "status=error\ntotal_bytes=3\nused_bytes=2\navail_bytes=1\n");
    simple_ipc_server_finish_request(ipc, simple_ipc_server_get_request(ipc, 0), response);
    _exit(0);
  }
  EXPECT_FALSE(storage_ipc_send_and_wait_disk_space_usage("/", &total, &used, &avail));
  EXPECT_EQ(-3, total + used + avail);
  waitpid(server, nullptr, 0);
}

TEST_F(StorageIpc, WithoutAConnectionNothingIsSent) {
  EXPECT_FALSE(storage_ipc_open());
  std::string log = test::captured_stderr([] {
    for (auto send : kWaiting) EXPECT_FALSE(send());
    for (auto send : kNotWaiting) EXPECT_FALSE(send());
  });
  for (const char* name : {"suspend_update", "reset_names", "resume_update", "eject_close_tray", "power_off_disks",
                           "power_on_disks", "power_off_eject_device"}) {
    EXPECT_NE(std::string::npos, log.find(std::string("] [storage_ipc] command '") + name + "' failed: ipc not opened\n"))
        << name;
  }
  EXPECT_EQ(std::string::npos, log.find("[simple_ipc_client]"));
}

TEST_F(StorageIpc, WaitingEndsAfterTenSecondsWhenNoDaemonAnswers) {
  test::make_dirs(sandbox.path("/tmp/run/ipc__storage_manager"));
  ASSERT_TRUE(storage_ipc_open());
  long long total = 0, used = 0, avail = 0;
  struct timespec start, end;
  clock_gettime(CLOCK_MONOTONIC, &start);
  std::string log = test::captured_stderr(
      [&] { EXPECT_FALSE(storage_ipc_send_and_wait_disk_space_usage("/", &total, &used, &avail)); });
  clock_gettime(CLOCK_MONOTONIC, &end);
  double seconds = (double)(end.tv_sec - start.tv_sec) + (end.tv_nsec - start.tv_nsec) / 1e9;
  EXPECT_GE(seconds, 9.9);
  EXPECT_LT(seconds, 20.0);
  EXPECT_EQ(-3, total + used + avail);
  EXPECT_NE(std::string::npos, log.find("[storage_ipc] request 'disk_space_usage."));
  EXPECT_NE(std::string::npos, log.find("' timed out\n"));
}

TEST_F(StorageIpc, ToolAsksTheDaemonForDiskUsage) {
  std::string out;
  EXPECT_EQ(1, test::run_tool("storage usage /", &out, true));
  EXPECT_EQ("vonautil storage: no storage daemon (its IPC directory does not exist)\n",
            out.substr(out.find("vonautil")));
  EXPECT_EQ(2, test::run_tool("storage usage", &out));
  EXPECT_EQ(2, test::run_tool("daemon storage_manager --storage USB", &out));
  EXPECT_EQ(2, test::run_tool("daemon storage_manager --storage USB=relative/path", &out));
  EXPECT_EQ(2, test::run_tool("daemon storage_manager --verbose", &out));
  EXPECT_EQ(1, test::run_tool("daemon storage_manager --storage USB=" + usb + "/missing", &out, true));
  EXPECT_EQ("vonautil daemon: storage folder '" + usb + "/missing' does not exist\n", out);

  Server daemon(sandbox, "daemon storage_manager --storage USB=" + usb);
  EXPECT_EQ(0, test::run_tool("storage usage " + usb, &out));
  EXPECT_EQ(0u, out.find("total_bytes = "));
  EXPECT_NE(std::string::npos, out.find("\nused_bytes = "));
  EXPECT_NE(std::string::npos, out.find("\navail_bytes = "));
  EXPECT_EQ(1, test::run_tool("storage usage " + usb + "/missing", &out, true));
  EXPECT_NE(std::string::npos, out.find("vonautil storage: the storage daemon gave no disk usage for '" + usb + "/missing'\n"));
}

TEST(StorageIpcDeathTest, OpeningTwiceIsAProgrammingError) {
  test::Sandbox sandbox;
  test::make_dirs(sandbox.path("/tmp/run/ipc__storage_manager"));
  EXPECT_DEATH(
      {
        storage_ipc_open();
        storage_ipc_open();
      },
      test::assertion_report("player/src/util/mt/storage_ipc", 0, "storage_ipc_open", "!storage_ipc"));
}
