#include <atomic>
#include <thread>

#include "player/src/util/mt/simple_ipc_client.hpp"
#include "test_support.hpp"

namespace {

class SimpleIpcClient : public test::SandboxTest {
 protected:
  void SetUp() override {
    test::make_dirs(dir);
    client = simple_ipc_create_and_connect("player");
  }
  void TearDown() override { simple_ipc_disconnect_and_destroy(client); }
  std::string file(const std::string& name) const { return dir + "/" + name; }

  std::string dir = sandbox.path("/tmp/run/ipc__player");
  simple_ipc* client = nullptr;
};

TEST_F(SimpleIpcClient, SendsRequestFilesAndNamesStatuses) {
  EXPECT_CONTAINS(test::captured_stderr([] { EXPECT_EQ(nullptr, simple_ipc_create_and_connect("nobody")); }),
                  "] [simple_ipc_client] failed to connect to server 'nobody': dir not exist\n");
  EXPECT_DEATH(simple_ipc_create_and_connect(nullptr),
               test::assertion_report("player/src/util/mt/simple_ipc_client", 0, "simple_ipc_create", "server_id"));

  properties* params = test::properties_of("path = /tmp/mnt/D\n");
  char first[SIMPLE_IPC_MAX_ID_SIZE], second[SIMPLE_IPC_MAX_ID_SIZE];
  ASSERT_TRUE(simple_ipc_send_request(client, "disk_space_usage", params, first));
  ASSERT_TRUE(simple_ipc_send_request(client, "eject", nullptr, second));
  // "NAME.PID-COUNTER", the counter one more for each request of the process.
  std::string first_id = first, pid = std::to_string(getpid());
  long long counter = atoll(first_id.c_str() + first_id.find('-') + 1);
  EXPECT_EQ("disk_space_usage." + pid + "-" + std::to_string(counter), first_id);
  EXPECT_EQ("eject." + pid + "-" + std::to_string(counter + 1), second);
  properties_free(params);
  // The exchanges below get the parameters back from the server's echo; a request without them is an empty file.
  EXPECT_EQ(first_id + ".cmd " + second + ".cmd", test::listing(dir));
  EXPECT_EQ("", test::read_file(file(second + std::string(".cmd"))));
  std::string long_name(300, 'n');  // the id is cut to its buffer; the file name is too long
  EXPECT_FALSE(simple_ipc_send_request(client, long_name.c_str(), nullptr, first));
  EXPECT_EQ(255u, strlen(first));

  const char* names[] = {"ok", "pending", "error", "busy", "timed_out", "OK", "ok ", "", nullptr};
  for (int status = 0; status < 9; ++status) {  // names are exact and case-sensitive
    EXPECT_EQ(status < 5 ? status : 3, simple_ipc_status_from_string(names[status], SIMPLE_IPC_STATUS_BUSY));
    EXPECT_STREQ(status < 5 ? names[status] : "", vona::simple_ipc_status_name(status == 8 ? -1 : status));
  }
}

TEST_F(SimpleIpcClient, RemovingOldResponsesTakesEveryClientsAnswers) {
  for (const char* name : {"a.1-1.res", ".res", "res", "b.1-2.res.tmp", "c.2-1.cmd"}) test::write_file(file(name), "");
  simple_ipc* other = simple_ipc_create_and_connect("player");
  char id[SIMPLE_IPC_MAX_ID_SIZE], my_id[SIMPLE_IPC_MAX_ID_SIZE];
  ASSERT_TRUE(simple_ipc_send_request(other, "eject", nullptr, id));
  test::write_file(file(std::string(id) + ".res"), "status = ok\n");  // answered, not yet read
  // A client that sends the way the daemon clients do removes all answers first: the other
  // client's answer goes with them, and its wait could only end by time-out.
  ASSERT_TRUE(vona::simple_ipc_send_fresh_request(client, "[storage_ipc]", "reset_names", nullptr, my_id));
  EXPECT_EQ("b.1-2.res.tmp c.2-1.cmd " SIMPLE_IPC_TURN_FILE " " + std::string(id) + ".cmd res " + my_id + ".cmd",
            test::listing(dir));
  simple_ipc_disconnect_and_destroy(other);
}

// The daemon clients take turns, so that the removal of old answers at the start of an
// exchange never takes the answer another exchange is about to read: every one of them ends "ok".
TEST_F(SimpleIpcClient, DaemonClientsTakeTurnsSoThatNoAnswerIsLost) {
  pid_t server = test::spawn([] { return test::serve_ipc_echo("player", 20); }, 60);
  properties* ok = test::properties_of("status = ok\n");
  std::atomic<int> answered{0};
  test::LogLock lock;
  test::captured_stderr([&] {
    std::vector<std::thread> clients;
    for (int i = 0; i < 4; ++i) {
      clients.emplace_back([&] {
        simple_ipc* own = simple_ipc_create_and_connect("player");
        for (int request = 0; request < 5; ++request) {
          answered += vona::simple_ipc_exchange(own, "[storage_ipc]", "eject", ok, nullptr, {5000000, 50000}) ==
                      SIMPLE_IPC_STATUS_OK;
        }
        simple_ipc_disconnect_and_destroy(own);
      });
    }
    for (std::thread& t : clients) t.join();
  });
  properties_free(ok);
  EXPECT_EQ(20, answered.load());
  EXPECT_EQ(0, test::exit_status(server));
}

int heartbeats = 0;

TEST_F(SimpleIpcClient, ExchangeWaitsForTheAnswerOfAServerProcessAndJudgesItsStatus) {
  struct {
    const char* answer;  // the request's parameters, which the server answers with
    simple_ipc_status status;
    const char* verdict;
  } cases[] = {{"status = ok\nid = 7\n", SIMPLE_IPC_STATUS_OK, "succeeded"},
               {"status = busy\n", SIMPLE_IPC_STATUS_BUSY, "failed"},
               {"errdesc = no status\n", SIMPLE_IPC_STATUS_ERROR, "failed"}};
  pid_t server = test::spawn([] { return test::serve_ipc_echo("player", 3); }, 30);
  int served = 0;
  for (const auto& c : cases) {
    test::write_file(file("stale.9-9.res"), "status = ok\n");
    properties* parameters = test::properties_of(c.answer);
    properties* response = nullptr;
    std::string log = test::captured_stderr([&] {
      EXPECT_EQ(c.status, vona::simple_ipc_exchange(client, "[network_ipc]", "mount", parameters, &response));
    });
    properties_free(parameters);
    EXPECT_EQ(c.answer + ("served = " + std::to_string(++served) + "\n"),
              test::take_string(properties_save_to_buffer(response)));
    properties_free(response);
    EXPECT_CONTAINS(log, "] [network_ipc] request 'mount." + std::to_string(getpid()));
    EXPECT_CONTAINS(log, "' is sent; waiting response\n");
    EXPECT_CONTAINS(log, std::string("' finished (") + c.verdict + ")\n");
  }
  EXPECT_EQ(0, test::exit_status(server));
  EXPECT_EQ(SIMPLE_IPC_TURN_FILE, test::listing(dir));  // the old answer and every answer read are gone

  // Without a server the deadline ends the wait, with a heartbeat on every poll; without a client
  // or a directory nothing is sent.
  set_progress_heartbeat_func([] { ++heartbeats; });
  std::string log = test::captured_stderr([&] {
    EXPECT_EQ(SIMPLE_IPC_STATUS_TIMED_OUT,
              vona::simple_ipc_exchange(client, "[storage_ipc]", "eject", nullptr, nullptr, {300000, 10000}));
    EXPECT_EQ(SIMPLE_IPC_STATUS_ERROR, vona::simple_ipc_exchange(nullptr, "[storage_ipc]", "eject", nullptr, nullptr));
    FS_remove_recursively_if_exists(dir.c_str());
    EXPECT_EQ(SIMPLE_IPC_STATUS_ERROR, vona::simple_ipc_exchange(client, "[storage_ipc]", "eject", nullptr, nullptr));
  });
  set_progress_heartbeat_func(nullptr);
  EXPECT_TRUE(heartbeats >= 1 && heartbeats <= 31) << heartbeats;
  EXPECT_CONTAINS(test::log_messages(log), "' timed out\n"
                  "[storage_ipc] command 'eject' failed: ipc not opened\n"
                  "[simple_ipc_client] scandir(" + dir + ") failed: No such file or directory\n"
                  "[storage_ipc] failed to send request 'eject'\n");
}

TEST_F(SimpleIpcClient, ToolServesAndSendsWithTheStatusAsExitStatus) {
  pid_t server = test::spawn([] {  // through the shell, as run_tool does: a cross-built tool starts under its emulator
    return execl("/bin/sh", "sh", "-c", "exec " VONAUTIL_TOOL " ipc serve player", nullptr);
  });
  test::expect_tool({{"ipc send player mount id=3 dir=/a", 0, "status = ok\n"},
                     {"ipc send nobody mount", 1, "no server 'nobody'"},
                     {"ipc send player mount novalue", 2, ""}});
  kill(server, SIGTERM);
  EXPECT_EQ(0, test::exit_status(server));
}

}  // namespace
