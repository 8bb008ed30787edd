#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <thread>

#include "test_support.hpp"

namespace {

const bool initialized = (xml_document_initialize(), true);

#define EXPECT_LOGGED(log, part) EXPECT_NE(std::string::npos, (log).find(part)) << (log)
#define EXPECT_NOT_LOGGED(log, part) EXPECT_EQ(std::string::npos, (log).find(part)) << (log)

const char kLabel[] = "[ensure_mnt] smb://nas:music: ";

// Each test runs the network daemon (the tool's stand-in, or a scripted fake) in a process of
// its own, on the test's sandbox root.
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
    std::string command = "exec " VONAUTIL_TOOL " daemon network_manager " + options + " >" +
                          sandbox.path("/daemon.out") + " 2>&1";
    daemon = fork();
    if (daemon == 0) {
      execl("/bin/sh", "sh", "-c", command.c_str(), (char*)nullptr);
      _exit(127);
    }
    for (int i = 0; i < 500 && access(dir().c_str(), F_OK) != 0; ++i) usleep(10000);
    ASSERT_TRUE(network_ipc_open());
  }
  std::string daemon_output() const { return test::read_file(sandbox.path("/daemon.out")); }
  std::string dir() const { return sandbox.path("/tmp/run/ipc__network_manager"); }

  network_mount* ensure_smb(const char* owner) {
    return try_ensure_network_mount(NETWORK_FOLDER_TYPE_SMB, "nas", "music", "guest", "pw", -1, owner);
  }
  // The published mount with that id, or null.
  network_mount* published(long long id) {
    network_mount_list_reload_current();
    network_mount_list* list = network_mount_list_get_current();
    int index = network_mount_list_find_by_id(list, id);
    return index >= 0 ? list->items[index] : nullptr;
  }

  pid_t daemon = -1;
  std::string log;
};

TEST_F(NetworkIpc, MountsForEachOwnerAndUnmountsAfterTheLastUnlock) {
  start_daemon("--mount-delay 60");
  network_mount* m = nullptr;
  log = test::captured_stderr([&] { m = ensure_smb("shell"); });
  ASSERT_NE(nullptr, m);
  EXPECT_EQ(1, m->id);
  EXPECT_EQ(NETWORK_MOUNT_STATUS_MOUNTED, m->status);
  EXPECT_STREQ("/tmp/mnt/network/1", m->path);
  EXPECT_STREQ("guest", m->user_name);
  EXPECT_TRUE(network_mount_has_owner(m, "shell"));
  EXPECT_LOGGED(test::read_file(sandbox.path("/tmp/run/network_mount_list.xml")), "    status=\"mounted\"\n");
  struct stat st;
  EXPECT_EQ(0, stat(sandbox.path("/tmp/mnt/network/1").c_str(), &st));
  for (const char* line : {"sending mount\n", "waiting for mount on 1\n", "mount 1 DONE\n"}) {
    EXPECT_LOGGED(log, kLabel + std::string(line));
  }
  EXPECT_LOGGED(log, "] [network_ipc] request 'mount.");

  // The same owner again: returned at once, and touched.
  log = test::captured_stderr([&] { m = ensure_smb("shell"); });
  ASSERT_NE(nullptr, m);
  EXPECT_LOGGED(log, kLabel + std::string("already mounted with id 1\n"));
  EXPECT_NOT_LOGGED(log, "sending mount");
  for (int i = 0; i < 100 && daemon_output().find("touch (") == std::string::npos; ++i) usleep(10000);
  EXPECT_LOGGED(daemon_output(), "touch (process " + std::to_string(getpid()));
  EXPECT_LOGGED(daemon_output(), ") id=1\n");

  // A second owner gets the same mount, locked by both.
  log = test::captured_stderr([&] { m = ensure_smb("player"); });
  ASSERT_NE(nullptr, m);
  EXPECT_EQ(1, m->id);
  EXPECT_LOGGED(log, kLabel + std::string("sending mount\n"));
  EXPECT_EQ("shell,player", test::take_string(string_array_join(m->locks, ",", 0, -1)));

  // Busy until the last owner lets go.
  log = test::captured_stderr([&] { EXPECT_EQ(2, try_network_umount(1)); });
  EXPECT_LOGGED(log, "] [umount] 1: IPC returned: busy\n");
  unlock_network_mount(1, "shell");
  EXPECT_EQ(2, try_network_umount(1));
  EXPECT_FALSE(network_mount_has_owner(published(1), "shell"));
  unlock_network_mount(1, "player");
  log = test::captured_stderr([&] { EXPECT_EQ(0, try_network_umount(1)); });
  for (const char* line : {"IPC returned: ok\n", "waiting for 1 unmounted\n", "unmounted OK\n"}) {
    EXPECT_LOGGED(log, "] [umount] 1: " + std::string(line));
  }
  EXPECT_EQ(nullptr, published(1));
  EXPECT_NE(0, stat(sandbox.path("/tmp/mnt/network/1").c_str(), &st));
  log = test::captured_stderr([&] {
    EXPECT_EQ(0, try_network_umount(1));
    unlock_network_mount(1, "shell");
  });
  EXPECT_LOGGED(log, "] [umount] 1: disappeared\n");
  EXPECT_LOGGED(log, "] [unlock] owner 'shell' from 1: disappeared\n");
  EXPECT_NOT_LOGGED(log, "request 'unlock.");

  // The same through the tool, for a stored folder; ids go on from the highest given out.
  network_folder_list* folders = network_folder_list_create();
  network_folder_list_add(folders, network_folder_create("NF001", "Music", NETWORK_FOLDER_TYPE_SMB, "nas", "music",
                                                         "guest", "pw", -1));
  test::make_dirs(sandbox.path("/config"));
  test::captured_stderr([&] { network_folder_list_save(folders, 0, 2); });
  network_folder_list_free(folders);
  std::string out;
  struct Case {
    const char* arguments;
    int status;
    const char* output;
    bool merge = false;  // standard error too; the output is then looked for in it
  } cases[] = {
      {"net mount Music --owner tv", 0, "2 mounted smb://nas:music /tmp/mnt/network/2 locks: tv\n"},
      {"net mounts", 0, "max_mount_id 2\n2 mounted smb://nas:music /tmp/mnt/network/2 locks: tv\n"},
      {"net umount 2", 1, "\nvonautil net: mount 2 is busy: other owners hold locks on it\n", true},
      {"net unlock 2 tv", 0, "2 mounted smb://nas:music /tmp/mnt/network/2\n"},
      {"net unlock 2 tv", 0, "2 mounted smb://nas:music /tmp/mnt/network/2\n"},  // holds none: fine
      {"net umount 2", 0, "mount 2 is unmounted\n"},
      {"net unlock 2 tv", 1, ""},
      {"net mount Films", 1, ""},
      {"net mount", 2, ""},
      {"net mount Music --owner", 2, ""},
      {"net umount 0", 2, ""},
      {"net umount 2 3", 2, ""},
      {"net unlock x tv", 2, ""},
      {"net mounts all", 2, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.arguments);
    EXPECT_EQ(c.status, test::run_tool(c.arguments, &out, c.merge));
    if (c.merge) EXPECT_LOGGED(out, c.output);
    else EXPECT_EQ(c.output, out);
  }
}

TEST_F(NetworkIpc, FailedAndStillMountingMounts) {
  start_daemon("--mount-delay 300 --fail-server bad");
  log = test::captured_stderr([&] {
    EXPECT_EQ(nullptr, try_ensure_network_mount(NETWORK_FOLDER_TYPE_NFS, "bad", "/export", nullptr, nullptr,
                                                NETWORK_PROTOCOL_TCP, "shell"));
  });
  EXPECT_LOGGED(log, "] [ensure_mnt] nfs://bad:/export: sending mount\n");
  EXPECT_LOGGED(log, "' finished (failed)\n");
  EXPECT_NOT_LOGGED(log, "waiting for");
  network_mount* m = published(1);
  ASSERT_NE(nullptr, m);
  EXPECT_EQ(NETWORK_MOUNT_STATUS_ERROR, m->status);
  EXPECT_EQ(NETWORK_PROTOCOL_TCP, m->protocol);
  log = test::captured_stderr([&] {
    EXPECT_EQ(0, try_network_umount(1));
    unlock_network_mount(1, "shell");
  });
  EXPECT_LOGGED(log, "] [umount] 1: got error state\n");
  EXPECT_LOGGED(log, "] [unlock] owner 'shell' from 1: got error state\n");
  EXPECT_NOT_LOGGED(log, "[network_ipc]");

  // A mount still "mounting" cannot be unmounted, and is waited for by the next caller.
  long long id = 0;
  EXPECT_EQ(SIMPLE_IPC_STATUS_OK, network_ipc_send_and_wait_mount(NETWORK_FOLDER_TYPE_NFS, "good", "/export",
                                                                  nullptr, nullptr, NETWORK_PROTOCOL_UDP, "a", &id));
  EXPECT_EQ(2, id);
  log = test::captured_stderr([&] { EXPECT_EQ(1, try_network_umount(2)); });
  EXPECT_LOGGED(log, "] [umount] 2: Error: got mounting state\n");
  log = test::captured_stderr([&] {
    m = try_ensure_network_mount(NETWORK_FOLDER_TYPE_NFS, "good", "/export", nullptr, nullptr, NETWORK_PROTOCOL_UDP,
                                 nullptr);
  });
  ASSERT_NE(nullptr, m);
  EXPECT_EQ(2, m->id);
  EXPECT_EQ(NETWORK_PROTOCOL_UDP, m->protocol);
  EXPECT_NOT_LOGGED(log, "sending mount");
  EXPECT_LOGGED(log, "] [ensure_mnt] nfs://good:/export: waiting for mount on 2\n");
  EXPECT_LOGGED(log, "] [ensure_mnt] nfs://good:/export: still waiting for mount on 2\n");
  EXPECT_LOGGED(daemon_output(), "mount (process " + std::to_string(getpid()) +
                                     ", request ");
  EXPECT_LOGGED(daemon_output(), " type=nfs server=good dir=/export proto=udp owner=a\n");
}

TEST_F(NetworkIpc, AShareFoundUnmountingIsWaitedOutAndMountedAgain) {
  network_mount_list* list = network_mount_list_create();
  network_mount* old = network_mount_create(4, "/tmp/mnt/network/4", NETWORK_FOLDER_TYPE_SMB, "nas", "music", "", "",
                                            -1, nullptr);
  old->status = NETWORK_MOUNT_STATUS_UNMOUNTING;
  network_mount_list_add(list, old);
  ASSERT_EQ(0, network_mount_list_save_to_file(list, sandbox.path(NETWORK_MOUNT_LIST_PATH).c_str(), 4));
  network_mount_list_free(list);
  start_daemon("--mount-delay 500");  // takes the list over: mount 4 is gone after 500 ms
  network_mount* m = nullptr;
  log = test::captured_stderr([&] { m = ensure_smb("shell"); });
  ASSERT_NE(nullptr, m);
  EXPECT_EQ(5, m->id);
  EXPECT_LOGGED(log, kLabel + std::string("still waiting for unmounting\n"));
  EXPECT_LT(log.find("still waiting for unmounting"), log.find("sending mount"));
  EXPECT_LOGGED(log, kLabel + std::string("mount 5 DONE\n"));
}

size_t occurrences(const std::string& text, const std::string& part) {
  size_t n = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

// A scripted daemon: answers the next requests with the given responses, in order, and writes
// `list` as the mount list before the last answer. Exits with the number of requests served.
pid_t scripted_daemon(const std::vector<std::string>& answers, const std::string& list) {
  std::string list_path = std::string(getenv("VONAUTIL_ROOT")) + NETWORK_MOUNT_LIST_PATH;
  pid_t pid = fork();
  if (pid != 0) return pid;
  simple_ipc_server* server = simple_ipc_server_create(NETWORK_IPC_SERVER_ID);
  int served = 0;
  for (const std::string& answer : answers) {
    for (int i = 0; i < 5000 && simple_ipc_server_get_num_requests(server) == 0; ++i, usleep(1000)) {
      simple_ipc_server_look_for_new_requests(server);
    }
    if (simple_ipc_server_get_num_requests(server) == 0) break;
    if (&answer == &answers.back()) test::write_file(list_path, list);
    properties* response = properties_create_empty();
    properties_build_from_buffer(response, answer.c_str());
    simple_ipc_server_finish_request(server, simple_ipc_server_get_request(server, 0), response);
    properties_free(response);
    ++served;
  }
  simple_ipc_server_free(server);
  _exit(served);
}

TEST_F(NetworkIpc, OddAnswersToTheMountRequest) {
  const std::string list5 =
      "<network_mounts><mount id=\"5\" path=\"/m\" type=\"smb\" server=\"nas\" dir=\"music\" user_name=\"\" "
      "password=\"\" status=\"mounted\"/></network_mounts>";
  struct Case {
    std::vector<std::string> answers;
    long long id;  // 0: null
  } cases[] = {
      {{"status = pending\n", "status = ok\nid = 5\n"}, 5},
      {{"status = pending\n", "status = pending\n", "status = ok\nid = 5\n"}, 5},
      {{"status = ok\nid = 0\n"}, 0},
      {{"status = ok\nid = -3\n"}, 0},
      {{"status = ok\n"}, 0},
      {{"status = ok\nid = 6\n"}, 0},  // an id that is not in the list: disappeared
      {{"status = busy\nid = 5\n"}, 0},
      {{"id = 5\n"}, 0},  // no status: an error
  };
  test::make_dirs(dir());
  ASSERT_TRUE(network_ipc_open());
  for (const Case& c : cases) {
    SCOPED_TRACE(c.answers.back());
    unlink(sandbox.path(NETWORK_MOUNT_LIST_PATH).c_str());
    pid_t fake = scripted_daemon(c.answers, list5);
    network_mount* m = nullptr;
    log = test::captured_stderr([&] { m = ensure_smb("shell"); });
    int status = 0;
    waitpid(fake, &status, 0);
    EXPECT_EQ((int)c.answers.size(), WEXITSTATUS(status));
    EXPECT_EQ(c.answers.size(), occurrences(log, "sending mount"));
    EXPECT_EQ(c.id, m ? m->id : 0);
  }
  EXPECT_LOGGED(log, "' finished (failed)\n");
  long long id = 99;
  pid_t fake = scripted_daemon({"status = ok\nid = 0\n"}, list5);
  EXPECT_EQ(SIMPLE_IPC_STATUS_ERROR, network_ipc_send_and_wait_mount(NETWORK_FOLDER_TYPE_SMB, "nas", "music",
                                                                     nullptr, nullptr, -1, "x", &id));
  EXPECT_EQ(0, id);
  waitpid(fake, nullptr, 0);
}

TEST_F(NetworkIpc, NoDaemonRunning) {
  log = test::captured_stderr([&] { EXPECT_FALSE(network_ipc_open()); });
  EXPECT_LOGGED(log, "failed to connect to server 'network_manager': dir not exist\n");
  log = test::captured_stderr([&] {
    EXPECT_EQ(nullptr, ensure_smb("shell"));
    EXPECT_EQ(SIMPLE_IPC_STATUS_ERROR, network_ipc_send_and_wait_umount(1));
    EXPECT_FALSE(network_ipc_send_touch(1));
  });
  EXPECT_LOGGED(log, "] [network_ipc] command 'mount' failed: ipc not opened\n");
  EXPECT_LOGGED(log, "] [network_ipc] command 'umount' failed: ipc not opened\n");
  EXPECT_LOGGED(log, "] [network_ipc] command 'touch' failed: ipc not opened\n");
  // A directory left behind by a daemon that is gone: the request times out after 10 s.
  test::make_dirs(dir());
  ASSERT_TRUE(network_ipc_open());
  EXPECT_DEATH(network_ipc_open(),
               test::assertion_report("player/src/util/mt/network_ipc", 0, "network_ipc_open", "!network_ipc"));
  log = test::captured_stderr([&] { EXPECT_EQ(nullptr, ensure_smb("shell")); });
  EXPECT_LOGGED(log, "] [network_ipc] request 'mount.");
  EXPECT_LOGGED(log, "' timed out\n");
  EXPECT_NOT_LOGGED(log, "waiting for mount");
}

// 4 processes and 8 threads of this one ensure the same share under their own names. The
// daemon mounts at once, so nobody finds the share "mounting" (which is waited for without a
// lock of one's own) and every owner's request adds its lock.
TEST_F(NetworkIpc, ManyOwnersShareOneMount) {
  start_daemon("--mount-delay 0");
  test::LogLock log_lock;
  std::vector<std::string> owners;
  std::vector<pid_t> processes;
  for (int i = 0; i < 4; ++i) {
    owners.push_back("process-" + std::to_string(i));
    pid_t pid = fork();
    if (pid == 0) {
      network_mount* m = ensure_smb(owners.back().c_str());
      _exit(m != nullptr && network_mount_has_owner(m, owners.back().c_str()) ? (int)m->id : 100);
    }
    processes.push_back(pid);
  }
  std::vector<long long> ids(8, -1);
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    owners.push_back("thread-" + std::to_string(i));
    threads.emplace_back([&, i, owner = owners.back()] {
      network_mount* m = ensure_smb(owner.c_str());
      ids[i] = m != nullptr && network_mount_has_owner(m, owner.c_str()) ? m->id : 0;
    });
  }
  for (std::thread& t : threads) t.join();
  for (pid_t pid : processes) {
    int status = 0;
    waitpid(pid, &status, 0);
    ids.push_back(WIFEXITED(status) ? WEXITSTATUS(status) : -1);
  }
  EXPECT_EQ(std::vector<long long>(12, 1), ids);
  network_mount_list_reload_current();
  network_mount_list* list = network_mount_list_get_current();
  ASSERT_EQ(1, list->num_items);
  ASSERT_EQ(12, network_mount_get_num_locks(list->items[0]));
  for (const std::string& owner : owners) EXPECT_TRUE(network_mount_has_owner(list->items[0], owner.c_str())) << owner;
  for (size_t i = 0; i < owners.size(); ++i) {
    SCOPED_TRACE(owners[i]);
    unlock_network_mount(1, owners[i].c_str());
    EXPECT_EQ(i + 1 < owners.size() ? 2 : 0, try_network_umount(1));
  }
  EXPECT_EQ(nullptr, published(1));
}

}  // namespace
