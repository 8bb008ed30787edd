/* libvonautil: the shared utility library of the media player firmware.
 *
 * The one header a firmware module includes: it brings in every module's C interface.
 * Valid C11 and C++; no C++ types. */
#ifndef VONAUTIL_H
#define VONAUTIL_H

#include "player/src/util/mt/export.h"
#include "player/src/util/mt/common.h"
#include "player/src/util/mt/fixed_path.h"

/* Reporting: log, fatal errors, generic error, message lists, sync objects */
#include "player/src/util/mt/log.h"
#include "player/src/util/mt/fatal_error.h"
#include "player/src/util/mt/message_list.h"
#include "player/src/util/mt/sync_object.h"
#include "player/src/util/mt/generic_error.h"

/* Arrays and typed lists */
#include "player/src/util/mt/typed_list.h"
#include "player/src/util/mt/basic_string_array.h"
#include "player/src/util/mt/long_long_array.h"
#include "player/src/util/mt/cyclic_int_array.h"

/* Ordered sets and maps */
#include "player/src/util/mt/containers.h"

/* String builder, buffers, shared formatting, octet streams */
#include "player/src/util/mt/string_builder.h"
#include "player/src/util/mt/string_buffer.h"

/* Properties files and saving containers into them */
#include "player/src/util/mt/properties.h"
#include "player/src/util/mt/container_utils.h"

/* Text: UTF-8, UTF-32, code pages, iconv, encoding detection */
#include "player/src/util/mt/convert_utf.h"
#include "player/src/util/mt/unicode_utils.h"
#include "player/src/util/mt/charset_utils.h"
#include "player/src/util/mt/iconv_utils.h"
#include "player/src/util/mt/encoding_utils.h"
#include "player/src/util/mt/auto_enc.h"
#include "player/src/util/mt/settings_provider.h"
#include "player/src/util/mt/path_encoding.h"

/* Translations and the text managers */
#include "player/src/util/mt/translation.h"
#include "player/src/util/mt/text_manager_mt.h"
#include "player/src/util/text_manager.h"

/* The generic setup model and the apply-setting handlers */
#include "player/src/util/apply_setting_handler.h"
#include "player/src/util/generic_setup_model.h"

/* Files, paths and URLs */
#include "player/src/util/mt/path_utils.h"
#include "player/src/util/mt/fs_path.h"
#include "player/src/util/mt/file_utils.h"
#include "player/src/util/mt/advanced_file_utils.h"
#include "player/src/util/mt/rflags.h"
#include "player/src/util/mt/url_utils.h"
#include "player/src/util/mt/brace_url.h"
#include "player/src/util/mt/url_type.h"

/* Processes and IPC: running commands and collecting their output, the progress heartbeat,
 * request files, top-level commands, application switcher */
#include "player/src/util/mt/progress.h"
#include "player/src/util/mt/cmd_buffer.h"
#include "player/src/util/mt/cmd_utils.h"
#include "player/src/util/mt/simple_ipc_client.h"
#include "player/src/util/simple_ipc_server.h"
#include "player/src/util/top_level_command.h"
#include "player/src/util/app_switcher.h"

/* Network folders and network mounts */
#include "player/src/util/mt/network_folder.h"
#include "player/src/util/mt/network_mount.h"
#include "player/src/util/mt/network_ipc.h"
/* Mounts and storages: the mount table and its cache, mount listeners, the storage list,
 * the storage cache and requests to the storage daemon */
#include "player/src/util/mt/mount_utils.h"
#include "player/src/util/mt/mount_cache.h"
#include "player/src/util/mount_listener.h"
#include "player/src/util/mt/storage_info.h"
#include "player/src/util/mt/storage_cache.h"
#include "player/src/util/mt/storage_ipc.h"
/* Storage: disk partitioning and drive sizes */
#include "player/src/util/mt/storage_utils.h"

/* XML documents and GUI skin configuration */
#include "player/src/util/mt/xml_parser.h"
#include "player/src/util/mt/gui_skin_config.h"

/* Firmware files and MPEG sections */
#include "player/src/util/firmware_file.h"
#include "player/src/util/mpeg_utils.h"

/* On-screen keyboard layouts */
#include "player/src/util/on_screen_keyboard.h"
#include "player/src/util/predefined_keyboards.h"

#endif
