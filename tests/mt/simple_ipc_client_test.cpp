#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "player/src/util/mt/simple_ipc_client.hpp"
#include "test_support.hpp"
#include "vonautil.h"

namespace {

// The log text holds the line (or part of one).
#define EXPECT_LOGGED(log, part) EXPECT_NE(std::string::npos, (log).find(part)) << (log)

const vona::SimpleIpcWait kShortWait{300000, 10000};

class SimpleIpcClient : public test::SandboxTest {
 protected:
  void SetUp() override { test::make_dirs(dir); }
  std::string file(const std::string& name) const { return dir + "/" + name; }
  bool exists(const std::string& name) const { return access(file(name).c_str(), F_OK) == 0; }

  // A server process that answers the first request it finds with `answer` (a properties
  // text written through a temporary file), then exits.
  pid_t answer_next_request(const std::string& answer) {
    pid_t pid = fork();
    if (pid != 0) return pid;
    for (int polls = 0; polls < 5000; ++polls, usleep(1000)) {
      string_array* names = FS_scandir(dir.c_str());
      for (int i = 0; names != nullptr && i < names->size; ++i) {
        std::string name = names->items[i];
        if (name.size() < 5 || name.compare(name.size() - 4, 4, ".cmd") != 0) continue;
        unlink(file(name).c_str());
        std::string response = file(name.substr(0, name.size() - 4) + ".res");
        test::write_file(response + ".tmp", answer);
        rename((response + ".tmp").c_str(), response.c_str());
        _exit(0);
      }
      string_array_free(names);
    }
    _exit(1);
  }

  std::string dir = sandbox.path("/tmp/run/ipc__player");
};

int heartbeats = 0;
void count_heartbeat() { ++heartbeats; }

TEST_F(SimpleIpcClient, ConnectsOnlyToAnExistingServerDirectory) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(nullptr, simple_ipc_create_and_connect("nobody"));
  simple_ipc* client = simple_ipc_create_and_connect("player");
  ASSERT_NE(nullptr, client);
  EXPECT_STREQ("player", client->server_id);
  EXPECT_EQ(dir, client->dir_path);
  simple_ipc_disconnect_and_destroy(client);
  std::string log = testing::internal::GetCapturedStderr();
  EXPECT_LOGGED(log, "] [simple_ipc_client] failed to connect to server 'nobody': dir not exist\n");
  EXPECT_LOGGED(log, "] [simple_ipc_client] created OK\n");
  EXPECT_LOGGED(log, "] [simple_ipc_client] destroyed OK\n");
  EXPECT_DEATH(simple_ipc_create_and_connect(nullptr),
               test::assertion_report("player/src/util/mt/simple_ipc_client", 0, "simple_ipc_create", "server_id"));
}

TEST_F(SimpleIpcClient, SendsRequestFilesAndTakesTheirAnswers) {
  simple_ipc* client = simple_ipc_create_and_connect("player");
  properties* params = properties_create_empty();
  properties_set(params, "path", "/tmp/mnt/D");
  char first[SIMPLE_IPC_MAX_ID_SIZE], second[SIMPLE_IPC_MAX_ID_SIZE];
  ASSERT_TRUE(simple_ipc_send_request(client, "disk_space_usage", params, first));
  ASSERT_TRUE(simple_ipc_send_request(client, "eject", nullptr, second));
  // "NAME.PID-COUNTER", the counter one more for each request of the process.
  std::string prefix = "." + std::to_string(getpid()) + "-";
  std::string first_id = first, second_id = second;
  ASSERT_EQ(0u, first_id.find("disk_space_usage" + prefix));
  ASSERT_EQ(0u, second_id.find("eject" + prefix));
  EXPECT_EQ(atoll(first_id.c_str() + first_id.find('-') + 1) + 1, atoll(second_id.c_str() + second_id.find('-') + 1));
  EXPECT_EQ("path = /tmp/mnt/D\n", test::read_file(file(first_id + ".cmd")));
  EXPECT_TRUE(exists(second_id + ".cmd"));
  EXPECT_EQ("", test::read_file(file(second_id + ".cmd")));

  EXPECT_EQ(nullptr, simple_ipc_try_get_response(client, first));
  test::write_file(file(first_id + ".res"), "status = ok\ntotal = 100\n");
  properties* response = simple_ipc_try_get_response(client, first);
  ASSERT_NE(nullptr, response);
  EXPECT_NE(nullptr, response->index);
  EXPECT_STREQ("100", properties_get(response, "total"));
  EXPECT_FALSE(exists(first_id + ".res"));
  EXPECT_EQ(nullptr, simple_ipc_try_get_response(client, first));

  char long_id[SIMPLE_IPC_MAX_ID_SIZE];  // the id is cut to the buffer
  std::string long_name(300, 'n');
  EXPECT_FALSE(simple_ipc_send_request(client, long_name.c_str(), nullptr, long_id));  // too long a file name
  EXPECT_EQ(255u, strlen(long_id));
  FS_remove_recursively_if_exists(dir.c_str());
  EXPECT_FALSE(simple_ipc_send_request(client, "eject", params, second));
  properties_free(response);
  properties_free(params);
  simple_ipc_disconnect_and_destroy(client);
}

TEST_F(SimpleIpcClient, RemovingOldResponsesTakesEveryClientsAnswers) {
  for (const char* name : {"a.1-1.res", ".res", "res", "b.1-2.res.tmp", "c.2-1.cmd"}) test::write_file(file(name), "");
  simple_ipc* mine = simple_ipc_create_and_connect("player");
  simple_ipc* other = simple_ipc_create_and_connect("player");
  char id[SIMPLE_IPC_MAX_ID_SIZE];
  ASSERT_TRUE(simple_ipc_send_request(other, "eject", nullptr, id));
  test::write_file(file(std::string(id) + ".res"), "status = ok\n");  // answered, not yet read

  // A client that sends the way the daemon clients do removes all answers first: the other
  // client's answer goes with them, and its wait could only end by time-out.
  char my_id[SIMPLE_IPC_MAX_ID_SIZE];
  ASSERT_TRUE(vona::simple_ipc_send_fresh_request(mine, "[storage_ipc]", "reset_names", nullptr, my_id));
  EXPECT_EQ(nullptr, simple_ipc_try_get_response(other, id));
  EXPECT_FALSE(exists("a.1-1.res") || exists(".res"));
  EXPECT_TRUE(exists("res") && exists("b.1-2.res.tmp") && exists("c.2-1.cmd") && exists(std::string(my_id) + ".cmd"));

  std::string gone = sandbox.path("/tmp/run/ipc__gone");
  test::make_dirs(gone);
  simple_ipc* orphan = simple_ipc_create_and_connect("gone");
  rmdir(gone.c_str());
  testing::internal::CaptureStderr();
  simple_ipc_remove_all_responses(orphan);
  EXPECT_LOGGED(testing::internal::GetCapturedStderr(), "[simple_ipc_client] scandir(" + gone + ") failed: No such file or directory\n");
  for (simple_ipc* client : {mine, other, orphan}) simple_ipc_disconnect_and_destroy(client);
}

TEST(SimpleIpcStatus, NamesAreExactAndCaseSensitive) {
  const char* names[] = {"ok", "pending", "error", "busy", "timed_out"};
  for (int status = 0; status < 5; ++status) {
    EXPECT_EQ(status, simple_ipc_status_from_string(names[status], SIMPLE_IPC_STATUS_BUSY));
    EXPECT_STREQ(names[status], vona::simple_ipc_status_name(status));
  }
  EXPECT_EQ(SIMPLE_IPC_STATUS_ERROR, simple_ipc_status_from_string("OK", SIMPLE_IPC_STATUS_ERROR));
  EXPECT_EQ(SIMPLE_IPC_STATUS_PENDING, simple_ipc_status_from_string(nullptr, SIMPLE_IPC_STATUS_PENDING));
  EXPECT_EQ(SIMPLE_IPC_STATUS_OK, simple_ipc_status_from_string("ok ", SIMPLE_IPC_STATUS_OK));
  EXPECT_EQ(SIMPLE_IPC_STATUS_BUSY, simple_ipc_status_from_string("", SIMPLE_IPC_STATUS_BUSY));
  EXPECT_STREQ("", vona::simple_ipc_status_name(5));
  EXPECT_STREQ("", vona::simple_ipc_status_name(-1));
}

TEST_F(SimpleIpcClient, ExchangeWaitsForTheAnswerAndJudgesItsStatus) {
  simple_ipc* client = simple_ipc_create_and_connect("player");
  set_progress_heartbeat_func(count_heartbeat);
  struct Case {
    const char* answer;
    simple_ipc_status status;
    const char* verdict;
  } cases[] = {{"status = ok\nid = 7\n", SIMPLE_IPC_STATUS_OK, "succeeded"},
               {"status = busy\n", SIMPLE_IPC_STATUS_BUSY, "failed"},
               {"status = Ok\n", SIMPLE_IPC_STATUS_ERROR, "failed"},
               {"errdesc = no status\n", SIMPLE_IPC_STATUS_ERROR, "failed"}};
  for (const Case& c : cases) {
    test::write_file(file("stale.9-9.res"), "status = ok\n");
    heartbeats = 0;
    pid_t server = answer_next_request(c.answer);
    properties* response = nullptr;
    testing::internal::CaptureStderr();
    EXPECT_EQ(c.status, vona::simple_ipc_exchange(client, "[network_ipc]", "mount", nullptr, &response));
    std::string log = testing::internal::GetCapturedStderr();
    int status = -1;
    waitpid(server, &status, 0);
    ASSERT_EQ(0, status) << c.answer;  // the server saw one request
    ASSERT_NE(nullptr, response);
    EXPECT_EQ(c.answer, test::take_string(properties_save_to_buffer(response)));
    EXPECT_GE(heartbeats, 1);
    EXPECT_LOGGED(log, "] [network_ipc] request 'mount." + std::to_string(getpid()));
    EXPECT_LOGGED(log, "' is sent; waiting response\n");
    EXPECT_LOGGED(log, std::string("' finished (") + c.verdict + ")\n");
    EXPECT_FALSE(exists("stale.9-9.res"));
    properties_free(response);
  }
  pid_t server = answer_next_request("status = ok\n");  // the answer can also be dropped
  EXPECT_EQ(SIMPLE_IPC_STATUS_OK, vona::simple_ipc_exchange(client, "[network_ipc]", "touch", nullptr, nullptr));
  waitpid(server, nullptr, 0);

  // Without a server: the deadline ends the wait, with a heartbeat on every poll.
  heartbeats = 0;
  properties* response = properties_create_empty();
  testing::internal::CaptureStderr();
  EXPECT_EQ(SIMPLE_IPC_STATUS_TIMED_OUT,
            vona::simple_ipc_exchange(client, "[storage_ipc]", "eject", nullptr, &response, kShortWait));
  EXPECT_LOGGED(testing::internal::GetCapturedStderr(), "' timed out\n");
  EXPECT_EQ(nullptr, response);
  EXPECT_GE(heartbeats, 1);
  EXPECT_LE(heartbeats, 31);
  int other_thread_heartbeats = -1;  // the callback is the installing thread's only
  std::thread([&] {
    progress_heartbeat();
    other_thread_heartbeats = heartbeats;
  }).join();
  EXPECT_EQ(heartbeats, other_thread_heartbeats);
  set_progress_heartbeat_func(nullptr);
  progress_heartbeat();

  testing::internal::CaptureStderr();
  EXPECT_EQ(SIMPLE_IPC_STATUS_ERROR, vona::simple_ipc_exchange(nullptr, "[storage_ipc]", "eject", nullptr, &response));
  FS_remove_recursively_if_exists(dir.c_str());
  EXPECT_EQ(SIMPLE_IPC_STATUS_ERROR, vona::simple_ipc_exchange(client, "[storage_ipc]", "eject", nullptr, &response));
  std::string log = testing::internal::GetCapturedStderr();
  EXPECT_LOGGED(log, "] [storage_ipc] command 'eject' failed: ipc not opened\n");
  EXPECT_LOGGED(log, "] [storage_ipc] failed to send request 'eject'\n");
  EXPECT_EQ(nullptr, response);
  simple_ipc_disconnect_and_destroy(client);
}

}  // namespace
