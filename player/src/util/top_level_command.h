/* Top-level commands: one component of the firmware asks the player shell to do something
 * outside its normal navigation (open a plugin, launch an application, ...).
 *
 * The command is a set of properties published as "/tmp/run/top_level_command.properties"
 * by any process. When the shell next looks (top_level_command_do_handle), it offers the
 * command to its handlers in registration order; the first that takes it decides whether
 * the file goes. A command that no handler takes is discarded. A newer command replaces a
 * pending one.
 *
 * Single-threaded: the handler registry is process-wide and not locked. */
#ifndef VONAUTIL_TOP_LEVEL_COMMAND_H
#define VONAUTIL_TOP_LEVEL_COMMAND_H

#include "mt/export.h"
#include "mt/properties.h"

VONA_BEGIN_DECLS

#define MAX_NUM_TOP_LEVEL_COMMAND_HANDLERS 32

/* A handler's verdict on a command. Any other non-zero value: taken, but it failed (the
 * file is deleted). */
#define TOP_LEVEL_COMMAND_NOT_HANDLED 0
#define TOP_LEVEL_COMMAND_HANDLED 1
#define TOP_LEVEL_COMMAND_HANDLED_KEEP_FILE 2

typedef int (*top_level_command_handler)(properties* command);

/* Appends a handler (not null; at most MAX_NUM_TOP_LEVEL_COMMAND_HANDLERS). Handlers are
 * never removed. */
void top_level_command_register_handler(top_level_command_handler handler);

/* Publishes `props` as the command (written to "%s.tmp" and renamed over the command file)
 * and frees it in every case. 1 on success, 0 on failure (logged). */
int top_level_command_set(properties* props);
/* Publishes the properties file at `path`; 0 when it cannot be loaded. */
int top_level_command_set_from_internal_file(const char* path);
/* Publishes "/fconfig/vendor_top_level_command.properties", or, when that cannot be loaded
 * or published, "/firmware/config/vendor_top_level_command.properties". */
int top_level_command_set_from_vendor_file(void);
/* Publishes the command bound to a remote-control key: 225 opens the recent items of the
 * shell extension, 227 launches karaoke in TV mode, 209 launches karaoke video on demand
 * while the read-only flag rflags_ktv_vod_enabled is set. 1 when the key has a command
 * (a failure to publish it is logged), 0 when it has none (nothing is written). */
int top_level_command_set_for_rmkey(int key_code);

/* 1 when a command file exists (as a regular file). */
int top_level_command_is_set(void);
/* Deletes a pending command: the result of the deletion, or 0 when there was none. */
int top_level_command_cleanup(void);

/* Offers a pending command to the handlers until one returns non-zero. Verdict 1 deletes
 * the file and gives 1; verdict 2 keeps the file (the command is offered again next time)
 * and gives 0; any other non-zero verdict, or no handler taking it, deletes the file and
 * gives 0. Without a readable command file: 0 and nothing changes. */
int top_level_command_do_handle(void);

VONA_END_DECLS

#endif
