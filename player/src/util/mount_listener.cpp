#include "player/src/util/mount_listener.h"

#include "player/src/util/mt/common.h"
#include "player/src/util/mt/log.h"

namespace {

mount_listener_func mount_callbacks[MAX_MOUNT_LISTENERS];
int num_mount_callbacks = 0;
mount_listener_func umount_callbacks[MAX_MOUNT_LISTENERS];
int num_umount_callbacks = 0;

}  // namespace

void register_mount_callback(mount_listener_func mount_callback) {
  MY_ASSERT(mount_callback);
  MY_ASSERT(num_mount_callbacks < MAX_MOUNT_LISTENERS);
  mount_callbacks[num_mount_callbacks++] = mount_callback;
}

void register_umount_callback(mount_listener_func umount_callback) {
  MY_ASSERT(umount_callback);
  MY_ASSERT(num_umount_callbacks < MAX_MOUNT_LISTENERS);
  umount_callbacks[num_umount_callbacks++] = umount_callback;
}

void fire_mount_performed(const char* mount_point) {
  log_print("[MOUNT] Running fireMountPerformed('%s')", mount_point);
  for (int i = 0; i < num_mount_callbacks; ++i) mount_callbacks[i](mount_point);
}

void fire_umount_performed(const char* mount_point) {
  log_print("[MOUNT] Running fireUmountPerformed('%s')", mount_point);
  for (int i = 0; i < num_umount_callbacks; ++i) umount_callbacks[i](mount_point);
}
