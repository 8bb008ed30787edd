#include "player/src/util/mt/storage_ipc.h"

#include "player/src/util/mt/common.h"
#include "player/src/util/mt/simple_ipc_client.hpp"

namespace {

const char kServerId[] = "storage_manager";
const char kLogPrefix[] = "[storage_ipc]";

simple_ipc* storage_ipc = nullptr;

int send_and_wait(const char* name, const properties* parameters = nullptr, properties** response = nullptr) {
  return vona::simple_ipc_exchange(storage_ipc, kLogPrefix, name, parameters, response) == SIMPLE_IPC_STATUS_OK;
}

int send(const char* name, const properties* parameters = nullptr) {
  char id[SIMPLE_IPC_MAX_ID_SIZE];
  return vona::simple_ipc_send_fresh_request(storage_ipc, kLogPrefix, name, parameters, id);
}

}  // namespace

int storage_ipc_open(void) {
  MY_ASSERT(!storage_ipc);
  storage_ipc = simple_ipc_create_and_connect(kServerId);
  return storage_ipc != nullptr;
}

void storage_ipc_close(void) {
  if (storage_ipc == nullptr) return;
  simple_ipc_disconnect_and_destroy(storage_ipc);
  storage_ipc = nullptr;
}

int storage_ipc_send_and_wait_suspend_update(void) { return send_and_wait("suspend_update"); }
int storage_ipc_send_suspend_update(void) { return send("suspend_update"); }

int storage_ipc_send_and_wait_resume_update(void) { return send_and_wait("resume_update"); }
int storage_ipc_send_resume_update(int timeout) {
  properties* parameters = properties_create_empty();
  properties_set_int(parameters, "timeout", timeout);
  int sent = send("resume_update", parameters);
  properties_free(parameters);
  return sent;
}

int storage_ipc_send_and_wait_eject(void) { return send_and_wait("eject"); }
int storage_ipc_send_eject(void) { return send("eject"); }

int storage_ipc_send_and_wait_reset_names(void) { return send_and_wait("reset_names"); }

int storage_ipc_send_eject_close_tray(void) { return send("eject_close_tray"); }
int storage_ipc_send_power_off_disks(void) { return send("power_off_disks"); }
int storage_ipc_send_power_on_disks(void) { return send("power_on_disks"); }
int storage_ipc_send_power_off_eject_device(void) { return send("power_off_eject_device"); }

int storage_ipc_send_and_wait_disk_space_usage(const char* path, long long* total, long long* used, long long* avail) {
  *total = *used = *avail = -1;
  properties* parameters = properties_create_empty();
  properties_set(parameters, "path", path);
  properties* response = nullptr;
  int succeeded = send_and_wait("disk_space_usage", parameters, &response);
  properties_free(parameters);
  if (succeeded && response) {
    *total = properties_get_long_long(response, "total_bytes", -1);
    *used = properties_get_long_long(response, "used_bytes", -1);
    *avail = properties_get_long_long(response, "avail_bytes", -1);
  }
  properties_free(response);
  return succeeded && response != nullptr;
}
