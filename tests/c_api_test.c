/* The C interface as a C11 program sees it: every call below goes through the umbrella
 * header and the shared library. Exit status 0 when every check holds. */
#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vonautil.h"

static int checks = 0;
static int failures = 0;

#define CHECK(cond)                                                              \
  do {                                                                           \
    checks++;                                                                    \
    if (!(cond)) {                                                               \
      fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond); \
      failures++;                                                                \
    }                                                                            \
  } while (0)

static void check_foundation(void) {
  char* path = fixed_path_resolve("relative");
  CHECK(strlen(vonautil_version()) > 0);
  CHECK(path && strcmp(path, "relative") == 0);
  free(path);
}

/* Reporting */
static void check_reporting(void) {
  message_list* messages = ML_create_message_list();
  sync_object* obj = sync_object_create();
  char* args[] = {"c_api_test"};
  CHECK(log_print("%s %d", "from C", 42) == 9);
  log_print_args(1, args);
  log_debug("not shown");
  ML_add_message(messages, 3, 1, "line %d", 7);
  CHECK(messages && messages->count == 1 && strcmp(messages->entries[0].text, "line 7") == 0 &&
        messages->entries[0].kind == 3);
  ML_free_message_list(messages);
  CHECK(obj && sync_object_lock(obj) == 0);
  CHECK(sync_object_wait_for_event(obj, 1) == ETIMEDOUT);
  CHECK(sync_object_unlock(obj) == 0);
  CHECK(sync_object_fire_event(NULL) == -1);
  sync_object_destroy(obj);
}

static void check_generic_error(void) {
  generic_error_set("Title");
  generic_error_add_description("why");
  CHECK(generic_error_is_set() && strcmp(generic_error_get_title(), "Title") == 0);
  CHECK(generic_error_get_descriptions()->size == 1);
  generic_error_clear();
  CHECK(!generic_error_is_set() && generic_error_get_descriptions() == NULL);
}

/* String tools */

static void check_strings(void) {
  char text[] = "a  b";
  char* cursor = text;
  const char* names[] = {"file10", "file2"};
  char* owned = malloc(4);
  unsigned char bytes[2];
  str_seg token = str_next_token_by_charset(&cursor, " ", 1);
  CHECK(token.length == 1 && token.start == text && cursor == text + 3);
  CHECK(str_parse_int("12 ", 5) == 5 && str_parse_int(" 12", 5) == 12);
  CHECK(str_parse_bool("YES", -1) == 1 && str_parse_color_rgb("FF0000", 0) == 0xFF0000);
  CHECK(str_parse_double("0.5", 0) == 0.5 && str_seg_parse_int(str_to_seg("77x"), 1) == 1);
  qsort(names, 2, sizeof *names, str_nat_cmp);
  CHECK(strcmp(names[0], "file2") == 0 && alnum_cmp("File2", "file10") < 0);
  CHECK(hex_str_to_byte_array("A0ff", bytes) == 0 && bytes[0] == 0xA0 && bytes[1] == 0xFF);
  CHECK(get_index_by_func_and_string(get_no_yes_choice_string_by_value, "yes", -1) == 1);
  strcpy(owned, "aXa");
  CHECK(str_replace_all(&owned, "a", "bb") == 2 && strcmp(owned, "bbXbb") == 0);
  free(owned);
  CHECK(get_intermediate_int_sqr(0, 100, 2, 4) == 50);
}

/* Arrays and containers */

/* The typed-list generator works in C as well. */
typedef struct point {
  int x;
} point;
TYPED_LIST_DECLARE(point_list, point);
TYPED_LIST_DECLARE_INSERT(point_list, point);
TYPED_LIST_DEFINE(point_list, point, free);

TYPED_LIST_DEFINE_INSERT(point_list, point);

static void check_arrays(void) {
  string_array* sa = string_array_split("b, a,c", ",");
  char* joined;
  long_long_array* lla = long_long_array_create_single(1LL << 40);
  ci_array* ci = ci_array_create(2);
  point_list* points = point_list_create();

  string_array_sort(sa);
  joined = string_array_join(sa, "+", 0, -1);
  CHECK(sa->size == 3 && sa->items[3] == NULL && strcmp(joined, "a+b+c") == 0);
  free(joined);
  string_array_free(sa);

  long_long_array_add(lla, -1);
  CHECK(lla->size == 2 && long_long_array_find(lla, 1LL << 40) == 0);
  long_long_array_free(lla);

  ci_array_push_last(ci, 1);
  ci_array_push_last(ci, 2);
  CHECK(ci_array_push_last(ci, 3) == 1 && ci_array_first(ci) == 2 && ci_array_last(ci) == 3);
  ci_array_free(ci);

  point_list_add(points, (point*)calloc(1, sizeof(point)));
  point_list_insert(points, 0, (point*)calloc(1, sizeof(point)));
  CHECK(points->num_items == 2 && points->capacity == 2);
  point_list_free(points);
}

static int destroyed_count = 0;
static void count_destroy(void* object) {
  (void)object;
  destroyed_count++;
}
static int keep_none(const char* key, void* object, void* context) {
  (void)key;
  (void)object;
  (void)context;
  return 0;
}

static void check_containers(void) {
  C_StringSet* set = string_set_create();
  C_StringMap* map = string_map_create();
  C_LongByStringMap* longs = long_by_string_map_create();
  C_ObjectByStringMap* objects = object_by_string_map_create();
  C_IdSet* ids = id_set_create();
  C_ObjectByIdMap* by_id = object_by_id_map_create();
  const char** all;
  long long* id_list;
  int object = 1;

  CHECK(string_set_add(set, "b") == 1 && string_set_add(set, "a") == 1 && string_set_add(set, "a") == 0);
  all = string_set_get_all(set);
  CHECK(strcmp(all[0], "a") == 0 && strcmp(all[1], "b") == 0 && all[2] == NULL);
  free(all);
  CHECK(string_map_put(map, "key", "value") == 1 && strcmp(string_map_get(map, "key"), "value") == 0);
  CHECK(string_map_put(map, "key", NULL) == 1 && string_map_size(map) == 0);
  CHECK(long_by_string_map_put(longs, "n", -5000000000LL) == 1);
  CHECK(long_by_string_map_get(longs, "n", 0) == -5000000000LL && long_by_string_map_get(longs, "m", 9) == 9);
  CHECK(object_by_string_map_put(objects, "x", &object, count_destroy) == 1);
  CHECK(object_by_string_map_filter(objects, keep_none, NULL, count_destroy) == 1 && destroyed_count == 1);
  CHECK(id_set_add(ids, 7) == 1 && id_set_add(ids, -7) == 1);
  id_list = id_set_get_all(ids);
  CHECK(id_list[0] == -7 && id_list[1] == 7);
  free(id_list);
  CHECK(object_by_id_map_put(by_id, 3, &object, count_destroy) == 1 && object_by_id_map_get(by_id, 3) == &object);
  object_by_id_map_free(by_id, count_destroy);
  CHECK(destroyed_count == 2);
  string_set_free(set);
  string_map_free(map);
  long_by_string_map_free(longs);
  object_by_string_map_free(objects, count_destroy);
  id_set_free(ids);
}

/* Builders, buffers and properties */

static char* format_shared(char** buffer, const char* format, ...) {
  va_list args;
  char* text;
  va_start(args, format);
  text = vsprintf_shared(buffer, format, args);
  va_end(args);
  return text;
}

static void check_builders(void) {
  string_builder* sb = string_builder_create();
  str_buf buf = {0};
  char* shared = NULL;
  char* fresh;
  unsigned char bytes[8];
  octet_stream os;
  int value = 0;

  string_builder_push_abs(sb, "/mnt/");
  string_builder_push_rel(sb, "music", 1);
  CHECK(strcmp(string_builder_top(sb), "/mnt/music") == 0);
  CHECK(string_builder_get_by_ndx(sb, 0).length == 4);
  string_builder_pop(sb);
  CHECK(strcmp(string_builder_top(sb), "/mnt") == 0);
  string_builder_free(sb);

  str_buf_append_json_string(&buf, "a\tb");
  CHECK(buf.length == 6 && memcmp(buf.data, "\"a\\tb\"", 6) == 0);
  free(buf.data);

  CHECK(strcmp(format_shared(&shared, "%d-%s", 7, "x"), "7-x") == 0);
  CHECK(strcmp(sprintf_shared(&shared, "%s", "again"), "again") == 0);
  free(shared);
  fresh = sprintf_new("%05d", 42);
  CHECK(strcmp(fresh, "00042") == 0);
  CHECK(strcmp(debug_get_shared_string(fresh), "00042") == 0); /* the pool owns it now */

  octet_stream_init_writing(&os, bytes, sizeof bytes);
  CHECK(octet_stream_write_int(&os, 1234) == 1 && os.remaining == 4);
  octet_stream_init_reading(&os, bytes, sizeof bytes);
  CHECK(octet_stream_read(&os, &value, sizeof value, 1) == 1 && value == 1234);
}

static void check_properties(void) {
  properties* p = properties_create_with_index();
  char* text;
  str_seg seg;
  properties_build_from_buffer(p, " a = 1 \n# comment\nb=x=y\n");
  properties_set_int(p, "n", 7);
  properties_set_escaped(p, "s", " padded");
  seg.start = "\"quoted\"";
  seg.length = 8;
  seg = properties_unescape_value_seg(seg);
  CHECK(p->count == 4);
  CHECK(properties_get_int(p, "a", 0) == 1 && properties_get_int(p, "missing", -1) == -1);
  CHECK(strcmp(properties_get_str(p, "b", ""), "x=y") == 0);
  CHECK(seg.length == 6);
  CHECK(properties_remove(p, "a") == 1);
  text = properties_save_to_buffer(p);
  CHECK(strcmp(text, "b = x=y\nn = 7\ns = \" padded\"\n") == 0);
  free(text);
  properties_free(p);
}

static void check_container_utils(void) {
  properties* p = properties_create_empty();
  string_array* sa = string_array_create_single("a");
  string_array* restored;
  long_long_array* lla;
  string_array_save(sa, p, "list");
  long_long_array_save(NULL, p, "ids");
  restored = string_array_restore(p, "list");
  lla = long_long_array_restore(p, "ids");
  CHECK(restored && string_array_equals(sa, restored));
  CHECK(lla == NULL && string_set_restore(p, "none") == NULL);
  string_array_free(sa);
  string_array_free(restored);
  properties_free(p);
}

/* Text */

static void check_text(void) {
  const UTF32 word[] = {0x41C, 0x438, 0x440, 0}; /* "Мир" */
  UTF32* wide = utf32_create_from_utf8("\xD0\x9C\xD0\xB8\xD1\x80");
  char* cp1251 = convert_string_from_utf32(word, 2);
  char* holder = NULL;
  auto_enc_stat stat;
  CHECK(utf32_strlen(wide) == 3 && wide[0] == 0x41C);
  CHECK(strcmp(cp1251, "\xCC\xE8\xF0") == 0);
  CHECK(strcmp(encoding_to_string(12), "euckr") == 0);
  CHECK(utf8_strcmp("\xD1\x91", "\xD0\xB5") == 0);
  CHECK(strcmp(MY_convert_string_from_external(&holder, cp1251, 2), "\xD0\x9C\xD0\xB8\xD1\x80") == 0);
  auto_enc_stat_create(&stat);
  auto_enc_stat_update(&stat, cp1251, cp1251 + 3);
  settings_provider_set_interface_language("russian");
  CHECK(auto_enc_get_auto_encoding(&stat, 1, 0) == 2);
  settings_provider_reset();
  free(wide);
  free(cp1251);
  free(holder);
}

/* Files, paths and URLs */

static void check_paths(void) {
  fs_path* stack = fs_path_create("/tmp/mnt/D", "storage://D");
  str_seg seg = str_to_seg("/a/b//c");
  char* rel = path_utils_get_rel_path("/a/b", 4, "/a/c/d", 6);
  char* resolved = path_utils_resolve_relative_url("c/d", "scheme://h/x/y");
  CHECK(strcmp(fs_path_push(stack, "Music"), "storage://D/Music") == 0);
  CHECK(strcmp(fs_path_top_parent(stack), "/tmp/mnt/D") == 0);
  fs_path_free(stack);
  CHECK(rel && strcmp(rel, "../c/d") == 0);
  CHECK(resolved && strcmp(resolved, "scheme://h/x/y/c/d") == 0);
  free(rel);
  free(resolved);
  CHECK(path_utils_rshift(&seg).length == 1 && seg.length == 4);
  CHECK(strcmp(path_utils_get_ext("dir.d/movie.MKV"), "MKV") == 0 && path_utils_is_prefix("/a", "/a/b"));
}

static int count_visit(const char* path, const struct stat* status, void* context) {
  (void)path;
  (void)status;
  ++*(int*)context;
  return FS_VISIT_CONTINUE;
}

static void check_files(void) {
  char dir[] = "/tmp/vonautil-c-api-XXXXXX";
  char path[64], copy[64];
  char* text;
  string_array* lines;
  int visits = 0;
  CHECK(mkdtemp(dir) != NULL);
  snprintf(path, sizeof path, "%s/a/b", dir);
  CHECK(FS_ensure_dirs(path, 0755) == 0 && FS_is_dir(path));
  snprintf(path, sizeof path, "%s/a/b/lines.txt", dir);
  CHECK(FS_writestring(path, "one\r\ntwo") == 1 && FS_writestring(path, "") == 0);
  CHECK(FS_writedata(path, "one\r\ntwo", 8) == 1);
  lines = FS_readlines(path, 80, 0);
  CHECK(lines && lines->size == 2 && strcmp(lines->items[1], "two") == 0);
  string_array_free(lines);
  text = FS_read_string_unlimited(path);
  CHECK(text && strlen(text) == 8);
  free(text);
  snprintf(path, sizeof path, "%s/a", dir);
  snprintf(copy, sizeof copy, "%s/copy", dir);
  CHECK(FS_copy_recursively(path, copy, 0, 0) == 1);
  CHECK(FS_iterate_recursively(copy, FS_ITER_PRE_ORDER, count_visit, &visits) == 0 && visits == 3);
  CHECK(FS_remove_recursively_if_exists(dir) == 0 && !FS_file_exists(dir));
}

static void check_urls(void) {
  properties* props = properties_create_empty();
  str_seg protocol, host, path, target, params;
  char* smb = smb_url_create("", 0, "", 0, "h", 1, "", 0);
  CHECK(playlist_is_media_file_url("/a/Movie.MKV") && !playlist_is_media_file_url("/a/notes.nfo"));
  CHECK(playlist_is_hls_url("h/x.m3u8?a=1") && !playlist_is_hls_url("h/x.M3U8"));
  CHECK(playlist_is_iptv_url("udp://@239.0.0.1:1234") && !playlist_is_iptv_url("udp://@239.0.0.1"));
  CHECK(!playlist_is_video_file_ext("divx"));
  rflags_set_divx_visible(1);
  CHECK(playlist_is_video_file_ext("DivX") && rflags_divx_visible());
  rflags_set_divx_visible(0);
  CHECK(url_utils_parse_url("http://h/p", &protocol, &host, &path) && host.length == 1 && path.length == 2);
  playlist_parse_swf_url("swf://g.swf:::p", &target, &params);
  CHECK(target.length == 5 && params.length == 1);
  CHECK(playlist_parse_plugin_launcher_url("plugin_launcher://{a=1}", props) == 1);
  CHECK(strcmp(properties_get_str(props, "a", ""), "1") == 0);
  properties_free(props);
  CHECK(strcmp(smb, "smb://@h/") == 0);
  free(smb);
}

/* Firmware and MPEG */

static void check_mpeg(void) {
  /* a program association section with its stored CRC, after a packet header and pointer field */
  unsigned char packet[MPEG_TS_PACKET_SIZE] = {0x47, 0x40, 0x00, 0x10, 0x00, 0x00, 0xB0, 0x0D, 0x00, 0x01, 0xC1,
                                               0x00, 0x00, 0x00, 0x01, 0xF0, 0x00, 0x2A, 0xB1, 0x04, 0xB2};
  CHECK(mpeg_utils_calculate_crc_32((const unsigned char*)"123456789", 9) == 0x0376E6E7u);
  CHECK(mpeg_utils_verify_section(packet, 0) == packet + 5);
  CHECK(mpeg_utils_get_section_length(packet + 5) == 13);
  CHECK(mpeg_utils_verify_pmt(packet) == 0);
  CHECK(mpeg_utils_are_sections_equal(packet + 5, packet + 5) == 1);
  CHECK(mpeg_utils_get_difference_pts_ms(10, 95443700u, 5000) == 27);
}

static void check_firmware(void) {
  char header[FW_FILE_HEADER_SIZE];
  char buffer[64];
  unsigned char block[5] = {1, 2, 3, 4, 5};
  unsigned int sum = 0;
  const char* cursor;
  CHECK(fw_generate_fw_file_header(header, "a", 10, 7, "format2", "b", 1, NULL) == 0);
  cursor = header + 8 + 4; /* after "format2" and "522": "7", then "hwv:1" */
  CHECK(strcmp(fw_get_header_param_value(header + 8 + 4, header + FW_FILE_HEADER_SIZE, "hwv"), "1") == 0);
  CHECK(strcmp(fw_parse_next_zt_string(&cursor, header + FW_FILE_HEADER_SIZE), "hwv:1") == 0);
  CHECK(fw_is_firmware_file_name("VONA_FIRMWARE_x.DFF") == 1);
  CHECK(strcmp(fw_get_file_signature_for_product_id(buffer, "x"), "VONA FIRMWARE FILE [x]") == 0);
  fw_encrypt_body_block(block, 5);
  fw_decrypt_body_block(block, 5);
  fw_checksum_block(block, 5, &sum);
  CHECK(sum == 15);
  CHECK(fw_verify_dsa_signature(block, 5, block, 5) == 0);
}

int main(void) {
  check_foundation();
  check_reporting();
  check_generic_error();
  check_strings();
  check_arrays();
  check_containers();
  check_builders();
  check_text();
  check_paths();
  check_files();
  check_urls();
  check_mpeg();
  check_properties();
  check_container_utils();
  check_firmware();
  printf("%d passed, %d failed\n", checks - failures, failures);
  return failures ? 1 : 0;
}
