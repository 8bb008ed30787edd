#include <algorithm>

#include "test_support.hpp"

namespace {

class SimpleIpcServer : public test::SandboxTest {
 protected:
  void SetUp() override { test::make_dirs(sandbox.path("/tmp/run")); }
  std::string file(const std::string& name) const { return dir + "/" + name; }
  // A request file as a client would leave it, with its modification time.
  void drop(const std::string& name, time_t mtime, const std::string& content = "") {
    test::write_file(file(name), content);
    struct timespec times[2] = {{mtime, 0}, {mtime, 0}};
    utimensat(AT_FDCWD, file(name).c_str(), times, 0);
  }
  // The pending requests' ids in serving order.
  std::string pending(simple_ipc_server* server) {
    std::string ids;
    for (int i = 0; i < simple_ipc_server_get_num_requests(server); ++i) {
      ids += std::string(i ? " " : "") + simple_ipc_server_get_request(server, i)->id;
    }
    return ids;
  }
  std::string dir = sandbox.path("/tmp/run/ipc__storage_manager");
};

TEST_F(SimpleIpcServer, ScanTakesWellFormedRequestsAndLeavesTheRest) {
  simple_ipc_server* server = simple_ipc_server_create("storage_manager");
  EXPECT_NE(0, simple_ipc_server_get_mtime(server));
  drop("disk_space_usage.42-7.cmd", 1000, "path = /tmp/mnt/D\nx=1\n");
  std::string long_name(130, 'n');  // the name is cut to its buffer, the id kept whole
  drop(long_name + ".5-8.cmd", 1000);
  for (const char* name : {"x.cmd", "bad.12.cmd", "a.b", "foo.res", "cmd", "q.1-1.cmd.tmp"}) drop(name, 1000);
  mkdir(file("dir.1-2.cmd").c_str(), 0755);
  std::string log = test::captured_stderr([&] { simple_ipc_server_look_for_new_requests(server); });

  ASSERT_EQ(2, simple_ipc_server_get_num_requests(server));
  simple_ipc_request* cut = simple_ipc_server_get_request(server, 1);
  EXPECT_EQ(long_name.substr(0, 127) + " " + long_name + ".5-8", std::string(cut->name) + " " + cut->id);
  simple_ipc_request* request = simple_ipc_server_get_request(server, 0);
  EXPECT_EQ("disk_space_usage.42-7 disk_space_usage 42 7 1000 /tmp/mnt/D",
            std::string(request->id) + " " + request->name + " " + std::to_string(request->client_process_id) + " " +
                std::to_string(request->counter) + " " + std::to_string(request->time) + " " +
                properties_get_str(request->parameters, "path", "?"));
  for (const std::string& line : {std::string("got request 'disk_space_usage.42-7'\n"),
                                  std::string("Error: invalid cmd file format: x.cmd; ignored\n"),
                                  std::string("Error: invalid cmd file format: bad.12.cmd; ignored\n"),
                                  "Error: read_file(" + file("dir.1-2.cmd") + ") failed: "}) {
    EXPECT_CONTAINS(log, "] [simple_ipc_server] " + line);
  }
  EXPECT_EQ(5, std::count(log.begin(), log.end(), '\n')) << log;  // nothing about the other files
  EXPECT_EQ("a.b bad.12.cmd cmd dir.1-2.cmd foo.res q.1-1.cmd.tmp x.cmd", test::listing(dir));
  std::string module = "player/src/util/simple_ipc_server";
  EXPECT_DEATH(simple_ipc_server_get_request(server, 2),
               test::assertion_report(module, 0, "simple_ipc_server_get_request", "ndx < ipc->requests->num_items"));
  simple_ipc_server_free(server);
  simple_ipc_server_free(nullptr);
  test::write_file(sandbox.path("/tmp/run/ipc__blocked"), "");
  EXPECT_EXIT((dup2(2, 1), simple_ipc_server_create("blocked/x")), testing::ExitedWithCode(1),
              "### FATAL ERROR: \\[simple_ipc_server\\] failed to ensure_dir\\(.*/tmp/run/ipc__blocked/x\\): Not a "
              "directory");
  EXPECT_DEATH(simple_ipc_server_create(nullptr),
               test::assertion_report(module, 0, "simple_ipc_server_create", "server_id"));
}

TEST_F(SimpleIpcServer, ServesClientsByTheirFirstRequestAndEachInSendingOrder) {
  simple_ipc_server* server = simple_ipc_server_create("storage_manager");
  drop("eject.100-7.cmd", 5000);
  drop("eject.100-3.cmd", 5000);
  drop("reset_names.200-8.cmd", 4000);
  simple_ipc_server_look_for_new_requests(server);
  EXPECT_EQ("reset_names.200-8 eject.100-3 eject.100-7", pending(server));
  // Newer requests of a client with a pending one line up behind it, even when their file
  // times are older than another client's.
  drop("resume_update.100-9.cmd", 3000);
  drop("suspend_update.300-2.cmd", 4500);
  simple_ipc_server_look_for_new_requests(server);
  EXPECT_EQ("reset_names.200-8 suspend_update.300-2 eject.100-3 eject.100-7 resume_update.100-9", pending(server));

  // An error answer keeps the status "pending": its sender sets "error" when it means it.
  properties* response = simple_ipc_server_create_err_response("disk busy");
  simple_ipc_request ghost{};
  ghost.id = const_cast<char*>("ghost.1-1");
  std::string log = test::captured_stderr([&] {
    simple_ipc_server_finish_request(server, simple_ipc_server_get_request(server, 2), response);
    simple_ipc_server_finish_request(server, simple_ipc_server_get_request(server, 0), nullptr);
    simple_ipc_server_finish_request(server, &ghost, response);
  });
  EXPECT_EQ("suspend_update.300-2 eject.100-7 resume_update.100-9", pending(server));
  EXPECT_EQ("eject.100-3.res", test::listing(dir));  // no answer for the request finished without one
  EXPECT_EQ("status = pending\nerrdesc = disk busy\n", test::read_file(file("eject.100-3.res")));
  EXPECT_EQ("[simple_ipc_server] finished request 'eject.100-3' (with_response=yes)\n"
            "[simple_ipc_server] finished request 'reset_names.200-8' (with_response=no)\n"
            "[simple_ipc_server] Error: failed to finished request; request 'ghost.1-1' not found in list\n",
            test::log_messages(log));
  properties_free(response);
  simple_ipc_server_free(server);
}

// One server process and 20 client processes of 500 requests each, each client sending its
// requests in bursts and taking the answers of a burst in sending order before the next.
const int kClients = 20, kBursts = 50, kBurst = 10;

// A request's text, large enough that a file read before its last write would show; "end" is last.
std::string request_text(int client, int n) {
  return "client = " + std::to_string(client) + "\nn = " + std::to_string(n) + "\npayload = " +
         std::string(2000 + n % 97, (char)('a' + (client + n) % 26)) + "\nend = yes\n";
}

// Exit status: 0 all answered in order, 2 a send failed, 3 an answer incomplete, not its own or
// out of order. The server echoes every request with the order in which it served it (a request
// read before its last write echoes incomplete, one answered twice leaves a client without its answer).
int run_client(int client) {
  simple_ipc* ipc = simple_ipc_create_and_connect("load");
  char ids[kBurst][SIMPLE_IPC_MAX_ID_SIZE];
  for (int n = 0, last_served = 0; n < kBursts * kBurst; n += kBurst) {
    for (int i = 0; i < kBurst; ++i) {
      properties* p = test::properties_of(request_text(client, n + i));
      bool sent = simple_ipc_send_request(ipc, "load", p, ids[i]);
      properties_free(p);
      if (!sent) return 2;
    }
    for (int i = 0; i < kBurst; ++i) {
      properties* answer;
      while ((answer = simple_ipc_try_get_response(ipc, ids[i])) == nullptr) usleep(2000);
      int served = properties_get_int(answer, "served", 0);
      std::string echo = request_text(client, n + i) + "served = " + std::to_string(served) + "\n";
      bool ok = test::take_string(properties_save_to_buffer(answer)) == echo && served > last_served;
      properties_free(answer);
      if (!ok) return 3;
      last_served = served;
    }
  }
  return 0;
}

TEST_F(SimpleIpcServer, LoadOfManyClientProcessesIsAnsweredOnceEachInOrder) {
  std::string load_dir = sandbox.path("/tmp/run/ipc__load");
  pid_t server = test::spawn([] { return test::serve_ipc_echo("load", kClients * kBursts * kBurst); }, 300);
  for (int i = 0; i < 5000 && access(load_dir.c_str(), F_OK) != 0; ++i) usleep(1000);
  std::vector<pid_t> clients;
  for (int c = 0; c < kClients; ++c) clients.push_back(test::spawn([c] { return run_client(c); }, 300));
  for (int c = 0; c < kClients; ++c) EXPECT_EQ(0, test::exit_status(clients[c])) << "client " << c;
  EXPECT_EQ(0, test::exit_status(server));
  EXPECT_EQ("", test::listing(load_dir));
}

}  // namespace
