#include <thread>

#include "test_support.hpp"

namespace {

const bool initialized = (xml_document_initialize(), true);

// Each test runs the network daemon (the tool's stand-in, or a scripted fake) in a process of its own, on the test's
// sandbox root.
class NetworkIpc : public test::SandboxTest {
 protected:
  void SetUp() override { test::make_dirs(sandbox.path("/tmp/run")); }
  void TearDown() override {
    network_ipc_close();
    if (daemon > 0) {
      kill(daemon, SIGTERM);
      waitpid(daemon, nullptr, 0);
    }
  }

  // `vonautil daemon network_manager OPTIONS`, its output kept in daemon_output(); connects.
  void start_daemon(const std::string& options) {
    std::string command =
        "exec " VONAUTIL_TOOL " daemon network_manager " + options + " >" + sandbox.path("/daemon.out") + " 2>&1";
    daemon = test::spawn([&] { return execl("/bin/sh", "sh", "-c", command.c_str(), nullptr); });
    for (int i = 0; i < 500 && access(dir().c_str(), F_OK) != 0; ++i) usleep(10000);
    ASSERT_TRUE(network_ipc_open());
  }
  std::string daemon_output() const { return test::read_file(sandbox.path("/daemon.out")); }
  std::string dir() const { return sandbox.path("/tmp/run/ipc__network_manager"); }

  network_mount* ensure_smb(const char* owner) {
    return try_ensure_network_mount(NETWORK_FOLDER_TYPE_SMB, "nas", "music", "guest", "pw", -1, owner);
  }
  // Publishes mount 4 of the share in that status, as a daemon left it.
  void publish(const std::string& status) {
    test::write_file(sandbox.path(NETWORK_MOUNT_LIST_PATH),
                     "<network_mounts><max_mount_id value=\"4\"/><mount id=\"4\" path=\"/m\" type=\"smb\" "
                     "server=\"nas\" dir=\"music\" user_name=\"\" password=\"\" status=\"" + status +
                         "\"/></network_mounts>");
  }

  pid_t daemon = -1;
  std::string log;
};

// The commands of the tool are these client calls, and standard error holds their log lines. A share found
// "unmounting" is waited out (a mount request now would be refused as busy), then mounted for each owner, and
// unmounted after the last unlock.
TEST_F(NetworkIpc, MountsForEachOwnerAndUnmountsAfterTheLastUnlock) {
  publish("unmounting");
  start_daemon("--mount-delay 60");  // takes the list over: mount 4 is gone after 60 ms
  const std::string label = "] [ensure_mnt] smb://nas:music: ";
  const std::string mount5 = "5 mounted smb://nas:music /tmp/mnt/network/5";
  std::vector<test::ToolRow> rows = {
      {"net add-folder Music smb nas music --user guest --password pw", 0, "NF001\n"},
      {"net mount Music --owner shell", 0, label + "mount 5 DONE\n"},
      {"net mount Music --owner shell", 0, label + "already mounted with id 5\n"},
      {"net mount Music --owner player", 0, mount5 + " locks: shell, player\n"},
      {"net umount 5", 1, "] [umount] 5: IPC returned: busy\n"},
      {"net unlock 5 shell", 0, mount5 + " locks: player\n"},
      {"net umount 5", 1, "vonautil net: mount 5 is busy: other owners hold locks on it\n"},
      {"net unlock 5 player", 0, mount5 + "\n"},
      {"net unlock 5 player", 0, mount5 + "\n"},  // holds none: fine
      {"net mounts", 0, "max_mount_id 5\n" + mount5 + "\n", true},
      {"net umount 5", 0, "] [umount] 5: unmounted OK\n"},
      {"net umount 5", 0, "] [umount] 5: disappeared\n"},
      {"net unlock 5 shell", 1, "] [unlock] owner 'shell' from 5: disappeared\n"},
      {"net mount Films", 1, "vonautil net: no network folder 'Films'\n"},
  };
  for (const char* usage : {"mount", "mount Music --owner", "umount 0", "umount 2 3", "unlock x tv", "mounts all"}) {
    rows.push_back({std::string("net ") + usage, 2, ""});
  }
  test::expect_tool(rows);
  EXPECT_CONTAINS(daemon_output(), ") id=5\n");  // the touch of the mount already held
}

TEST_F(NetworkIpc, FailedAndStillMountingMounts) {
  start_daemon("--mount-delay 500 --fail-server bad");
  // A mount still "mounting" cannot be unmounted; the next caller waits for it without a request of its own.
  long long id = 0;
  EXPECT_EQ(SIMPLE_IPC_STATUS_OK, network_ipc_send_and_wait_mount(NETWORK_FOLDER_TYPE_NFS, "good", "/export", nullptr,
                                                                  nullptr, NETWORK_PROTOCOL_UDP, "a", &id));
  EXPECT_EQ(1, id);
  log = test::captured_stderr([&] { EXPECT_EQ(1, try_network_umount(1)); });
  EXPECT_EQ("[umount] 1: Error: got mounting state\n", test::log_messages(log));
  network_mount* m = nullptr;
  log = test::captured_stderr([&] {
    m = try_ensure_network_mount(NETWORK_FOLDER_TYPE_NFS, "good", "/export", nullptr, nullptr, NETWORK_PROTOCOL_UDP,
                                 nullptr);
  });
  ASSERT_NE(nullptr, m);
  EXPECT_TRUE(m->id == 1 && m->status == NETWORK_MOUNT_STATUS_MOUNTED && network_mount_has_owner(m, "a"));
  EXPECT_EQ(std::string::npos, log.find("sending mount"));
  EXPECT_CONTAINS(log, "] [ensure_mnt] nfs://good:/export: waiting for mount on 1\n");
  EXPECT_CONTAINS(daemon_output(), " type=nfs server=good dir=/export proto=udp owner=a\n");

  // A failed mount is left in the list as "error" and needs no unmounting or unlocking.
  test::expect_tool({
      {"net add-folder Bad nfs bad /export", 0, "NF001\n"},
      {"net mount Bad --owner shell", 1, "] [ensure_mnt] nfs://bad:/export: sending mount\n"},
      {"net mounts", 0,
       "max_mount_id 2\n1 mounted nfs://good:/export /tmp/mnt/network/1 locks: a\n"
       "2 error nfs://bad:/export /tmp/mnt/network/2\n",
       true},
      {"net umount 2", 0, "] [umount] 2: got error state\n"},
      {"net unlock 2 shell", 0, "] [unlock] owner 'shell' from 2: got error state\n"},
  });
}

// A scripted daemon answers the mount requests with the answers of a row, in order, and exits with the number of
// requests it served. The list holds mount 4 of the share without this owner's lock, so that it is asked for.
TEST_F(NetworkIpc, OddAnswersToTheMountRequest) {
  publish("mounted");
  test::make_dirs(dir());
  ASSERT_TRUE(network_ipc_open());
  struct Case {
    std::vector<std::string> answers;
    long long id;  // of the mount returned, 0 for none
  };
  for (const Case& c : {Case{{"status = pending\n", "status = ok\nid = 4\n"}, 4},  // asked again
                        Case{{"status = ok\nid = 0\n"}, 0}, Case{{"status = busy\nid = 4\n"}, 0},
                        Case{{"status = ok\nid = 6\n"}, 0},  // an id that is not in the list: disappeared
                        Case{{"id = 4\n"}, 0}}) {            // no status: an error
    SCOPED_TRACE(c.answers.back());
    pid_t fake = test::spawn([&] {
      simple_ipc_server* server = simple_ipc_server_create(NETWORK_IPC_SERVER_ID);
      int served = 0;
      for (; served < (int)c.answers.size(); ++served) {
        for (int i = 0; i < 5000 && simple_ipc_server_get_num_requests(server) == 0; ++i, usleep(1000)) {
          simple_ipc_server_look_for_new_requests(server);
        }
        if (simple_ipc_server_get_num_requests(server) == 0) break;
        properties* response = properties_create_empty();
        properties_build_from_buffer(response, c.answers[served].c_str());
        simple_ipc_server_finish_request(server, simple_ipc_server_get_request(server, 0), response);
      }
      return served;
    });
    network_mount* m = nullptr;
    log = test::captured_stderr([&] { m = ensure_smb("shell"); });
    EXPECT_EQ((int)c.answers.size(), test::exit_status(fake));
    EXPECT_EQ(c.id, m ? m->id : 0);
  }
  EXPECT_CONTAINS(log, "' finished (failed)\n");
}

// Without a daemon only the published list answers: a share that stays "unmounting" is waited for 10 s at most, by
// both procedures at once, and a mounted one is asked for in vain.
TEST_F(NetworkIpc, NoDaemonRunning) {
  log = test::captured_stderr([&] { EXPECT_FALSE(network_ipc_open()); });
  EXPECT_CONTAINS(log, "failed to connect to server 'network_manager': dir not exist\n");
  publish("unmounting");
  {
    test::LogLock log_lock;
    log = test::captured_stderr([&] {
      std::thread unmount([] { EXPECT_EQ(1, try_network_umount(4)); });
      EXPECT_EQ(nullptr, ensure_smb("shell"));
      unmount.join();
    });
  }
  for (const char* line : {"[umount] 4: still waiting for 4 unmounted\n",
                           "[umount] 4: timed out waiting for 4 unmounted\n",
                           "[ensure_mnt] smb://nas:music: still waiting for unmounting\n",
                           "[ensure_mnt] smb://nas:music: timed out waiting for unmounting\n"}) {
    EXPECT_CONTAINS(log, "] " + std::string(line));
  }
  EXPECT_EQ(std::string::npos, log.find("[network_ipc]"));
  publish("mounted");
  log = test::captured_stderr([&] {
    EXPECT_EQ(nullptr, ensure_smb("shell"));
    EXPECT_EQ(1, try_network_umount(4));
    EXPECT_FALSE(network_ipc_send_touch(4));
  });
  for (const char* command : {"mount", "umount", "touch"}) {
    EXPECT_CONTAINS(log, "] [network_ipc] command '" + std::string(command) + "' failed: ipc not opened\n");
  }
  EXPECT_CONTAINS(log, "] [umount] 4: IPC returned: error\n");
  test::make_dirs(dir());
  ASSERT_TRUE(network_ipc_open());
  EXPECT_DEATH(network_ipc_open(),
               test::assertion_report("player/src/util/mt/network_ipc", 0, "network_ipc_open", "!network_ipc"));
}

// 4 processes and 8 threads of this one ensure the same share under their own names. The daemon mounts at once, so
// nobody finds the share "mounting" (which is waited for without a lock of one's own) and every owner's request adds
// its lock.
TEST_F(NetworkIpc, ManyOwnersShareOneMount) {
  start_daemon("--mount-delay 0");
  test::LogLock log_lock;
  auto owner = [](int i) { return "owner-" + std::to_string(i); };
  auto mounted_for = [&](int i) {
    network_mount* m = ensure_smb(owner(i).c_str());
    return m != nullptr && network_mount_has_owner(m, owner(i).c_str()) ? (int)m->id : 100;
  };
  std::vector<pid_t> processes;
  for (int i = 8; i < 12; ++i) processes.push_back(test::spawn([&, i] { return mounted_for(i); }));
  std::vector<int> ids(8);
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) threads.emplace_back([&, i] { ids[i] = mounted_for(i); });
  for (std::thread& t : threads) t.join();
  for (pid_t pid : processes) ids.push_back(test::exit_status(pid));
  EXPECT_EQ(std::vector<int>(12, 1), ids);
  // Then each owner unlocks and asks for the unmount, which only the last one gets.
  network_mount_list* list = network_mount_list_get_current();
  network_mount_list_reload_current();
  ASSERT_EQ(1, list->num_items);
  EXPECT_EQ(12, network_mount_get_num_locks(list->items[0]));
  for (int i = 0; i < 12; ++i) {
    SCOPED_TRACE(owner(i));
    EXPECT_TRUE(network_mount_list_reload_current() && network_mount_has_owner(list->items[0], owner(i).c_str()));
    unlock_network_mount(1, owner(i).c_str());
    EXPECT_EQ(i < 11 ? 2 : 0, try_network_umount(1));
  }
  network_mount_list_reload_current();
  EXPECT_EQ(0, list->num_items);
}

}  // namespace
