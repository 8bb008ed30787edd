// The storage client against a storage daemon in its own process: no server at all, the tool's
// stand-in daemon, a server that answers "error", and one that is gone.
#include <sys/statvfs.h>

#include "test_support.hpp"

namespace {

// A daemon's output without its log lines (each starts with "[") and without the
// " (process PID, request COUNTER)" of each served request.
std::string served_requests(std::string output) {
  size_t at;
  while ((at = output.find("\n[")) != std::string::npos) output.erase(at + 1, output.find('\n', at + 1) - at);
  while ((at = output.find(" (process ")) != std::string::npos) output.erase(at, output.find(')', at) + 1 - at);
  return output;
}

// Four senders that wait for the answer, then seven that do not.
int (*const kSenders[])() = {
    storage_ipc_send_and_wait_suspend_update, storage_ipc_send_and_wait_resume_update, storage_ipc_send_and_wait_eject,
    storage_ipc_send_and_wait_reset_names, storage_ipc_send_suspend_update,
    [] { return storage_ipc_send_resume_update(30); }, storage_ipc_send_eject, storage_ipc_send_eject_close_tray,
    storage_ipc_send_power_off_disks, storage_ipc_send_power_on_disks, storage_ipc_send_power_off_eject_device};

// The results of every sender, as digits.
std::string send_all() {
  std::string results;
  for (auto send : kSenders) results += std::to_string(send());
  return results;
}

// The result and the figures of a disk space request; used and available are "ok" when they
// fit the total (others change them meanwhile).
std::string disk_space_usage(const std::string& path) {
  long long total = 0, used = 0, avail = 0;
  int done = storage_ipc_send_and_wait_disk_space_usage(path.c_str(), &total, &used, &avail);
  bool fit = done && used >= 0 && avail >= 0 && used + avail <= total;
  return std::to_string(done) + " " + std::to_string(total) + " " +
         (fit ? "ok" : std::to_string(used) + " " + std::to_string(avail));
}

}  // namespace

TEST(StorageIpc, TheStandInDaemonAnswersADaemonAnsweringErrorFailsAndAGoneOneTimesOutOnce) {
  test::Sandbox sandbox;
  test::captured_stderr([] { EXPECT_EQ("00000000000", send_all()); });  // "command '...' failed: ipc not opened"
  std::string usb = sandbox.path("/tmp/mnt/storage/usb1"), out = sandbox.path("/daemon.out");
  test::make_dirs(usb);
  test::expect_tool({{"storage usage /", 1, "vonautil storage: no storage daemon (its IPC directory does not exist)\n"},
                     {"daemon storage_manager --storage USB=relative/path", 2, ""},
                     {"daemon storage_manager --storage USB=" + usb + "/missing", 1,
                      "vonautil daemon: storage folder '" + usb + "/missing' does not exist\n", true}});
  std::string command = "exec " VONAUTIL_TOOL " daemon storage_manager --storage USB=" + usb + " >" + out + " 2>&1";
  pid_t daemon = test::spawn([&] { return execl("/bin/sh", "sh", "-c", command.c_str(), (char*)nullptr); });
  for (int i = 0; i < 1000 && test::read_file(out).empty(); ++i) usleep(10000);  // its banner

  ASSERT_TRUE(storage_ipc_open());
  struct statvfs fs;
  ASSERT_EQ(0, statvfs(usb.c_str(), &fs));
  EXPECT_EQ("11111111111", send_all());
  EXPECT_EQ("1 " + std::to_string((long long)fs.f_blocks * fs.f_frsize) + " ok", disk_space_usage(usb));
  test::expect_tool({{"storage usage " + usb, 0, "total_bytes = " + std::to_string(fs.f_blocks * fs.f_frsize)},
                     {"storage usage " + usb + "/missing", 1,  // answered with "error"
                      "vonautil storage: the storage daemon gave no disk usage for '" + usb + "/missing'\n"}});
  kill(daemon, SIGTERM);
  EXPECT_EQ(0, test::exit_status(daemon));
  // The requests it served, in order.
  std::string usage = "disk_space_usage path=" + usb;
  EXPECT_CONTAINS(served_requests(test::read_file(out)),
                  "\nsuspend_update\nresume_update\neject\nreset_names\nsuspend_update\nresume_update timeout=30\n"
                  "eject\neject_close_tray\npower_off_disks\npower_on_disks\npower_off_eject_device\n" +
                      usage + "\n" + usage + "\n" + usage + "/missing\n");

  // A daemon whose answers carry figures, which must not be taken; a closed connection can be
  // opened again.
  storage_ipc_close();
  test::make_dirs(sandbox.path("/tmp/run/ipc__storage_manager"));
  daemon = test::spawn([]() -> int {
    simple_ipc_server* ipc = simple_ipc_server_create("storage_manager");
    properties* answer = properties_create_empty();
    properties_build_from_buffer(answer, "status=error\ntotal_bytes=3\nused_bytes=2\navail_bytes=1\n");
    for (;; usleep(1000)) {
      simple_ipc_server_look_for_new_requests(ipc);
      while (simple_ipc_server_get_num_requests(ipc) > 0) {
        simple_ipc_server_finish_request(ipc, simple_ipc_server_get_request(ipc, 0), answer);
      }
    }
  });
  ASSERT_TRUE(storage_ipc_open());
  EXPECT_EQ("00001111111", send_all());
  EXPECT_EQ("0 -1 -1 -1", disk_space_usage("/"));

  // Once it is gone its directory stays, and nobody answers: the wait ends after 10 seconds.
  kill(daemon, SIGKILL);
  test::exit_status(daemon);
  auto start = std::chrono::steady_clock::now();
  std::string log = test::captured_stderr([&] { EXPECT_EQ("0 -1 -1 -1", disk_space_usage("/")); });
  std::chrono::duration<double> waited = std::chrono::steady_clock::now() - start;
  EXPECT_TRUE(waited.count() >= 9.9 && waited.count() < 20) << waited.count();
  EXPECT_CONTAINS(log, "[storage_ipc] request 'disk_space_usage.");
  EXPECT_CONTAINS(log, "' timed out\n");
  EXPECT_DEATH(storage_ipc_open(),
               test::assertion_report("player/src/util/mt/storage_ipc", 0, "storage_ipc_open", "!storage_ipc"));
  storage_ipc_close();
}
