#include <openssl/evp.h>
#include <openssl/pem.h>

#include <cctype>
#include <random>

#include "test_support.hpp"

namespace {

using Bytes = std::vector<unsigned char>;

// The zero-terminated strings of a header that start before `end`, up to the first empty one, at most `count`.
std::vector<std::string> header_strings(const char* header, size_t count = FW_FILE_HEADER_SIZE,
                                        size_t end = FW_FILE_HEADER_SIZE) {
  std::vector<std::string> strings;
  for (size_t offset = 0; strings.size() < count && offset < end && header[offset] != '\0';) {
    strings.emplace_back(header + offset, strnlen(header + offset, FW_FILE_HEADER_SIZE - offset));
    offset += strings.back().size() + 1;
  }
  return strings;
}

}  // namespace

TEST(FirmwareNames, SignaturesAndFileNames) {
  char buffer[128];
  EXPECT_STREQ("VONA FIRMWARE FILE [abc_1]", fw_get_file_signature_for_product_id(buffer, "abc_1"));
  EXPECT_STREQ("vona_firmware_abc_", fw_get_file_name_prefix_for_product_id_prefix(buffer, "abc"));
  EXPECT_STREQ(".dff", fw_get_file_name_suffix());
  using Check = int (*)(const char*, const char*);
  const Check exact = fw_is_file_signature_for_product_id, prefixed = fw_is_file_signature_for_product_id_prefix,
              name = [](const char* text, const char*) { return fw_is_firmware_file_name(text); },
              name_prefix = fw_is_firmware_file_name_for_product_id_prefix;
  // The expected signature start is cut to 127 characters, so a very long prefix is compared in part.
  const std::string long_prefix(200, 'p'), cut_127 = "VONA FIRMWARE FILE [" + std::string(107, 'p') + "]",
                    cut_126 = "VONA FIRMWARE FILE [" + std::string(106, 'p') + "]";
  struct Case { Check check; const char *text, *id; int expected; };
  for (const Case& c : std::vector<Case>{
           {exact, "VONA FIRMWARE FILE [abc_1]", "abc_1", 1}, {exact, "VONA FIRMWARE FILE [abc_1] ", "abc_1", 0},
           {exact, "VONA FIRMWARE FILE [abc_]", "abc_1", 0}, {exact, "vona firmware file [abc_1]", "abc_1", 0},
           {prefixed, "VONA FIRMWARE FILE [abc_1]", "abc", 1}, {prefixed, "VONA FIRMWARE FILE [abc_]", "abc", 1},
           {prefixed, "VONA FIRMWARE FILE [abc_1]", "ab", 0}, {prefixed, "VONA FIRMWARE FILE [abc_1", "abc", 0},
           {prefixed, cut_127.c_str(), long_prefix.c_str(), 1}, {prefixed, cut_126.c_str(), long_prefix.c_str(), 0},
           {name, "VONA_FIRMWARE_anything.DFF", "", 1}, {name, "vona_firmware_.dff", "", 1},
           {name, "vona_firmware.dff", "", 0}, {name, "vona_firmware_x.df", "", 0}, {name, "", "", 0},
           {name_prefix, "VONA_FIRMWARE_ABC_1.2.DFF", "abc", 1}, {name_prefix, "vona_firmware_abc_.dff", "abc", 1},
           {name_prefix, "vona_firmware_abc.dff", "abc", 0}, {name_prefix, "vona_firmware_abcd_1.dff", "abc", 0},
           {name_prefix, "vona_firmware_abc_1.img", "abc", 0}, {name_prefix, "vona_firmware_ab", "abc", 0}}) {
    EXPECT_EQ(c.expected, c.check(c.text, c.id)) << c.text << " / " << c.id;
  }
}

TEST(FirmwareHeader, LayoutIsReproducibleFromTheSeed) {
  char* items[] = {(char*)"region", (char*)"eu", (char*)"build", (char*)"1234"};
  string_array params = {4, items};
  char first[FW_FILE_HEADER_SIZE], second[FW_FILE_HEADER_SIZE];
  ASSERT_EQ(0, fw_generate_fw_file_header(first, "text a", 1024, 77, "format1", "VONA FIRMWARE FILE [x]", 3, &params));
  std::vector<std::string> strings = header_strings(first);
  std::vector<std::string> expected = {"VONA FIRMWARE FILE [x]", "format1", "text a", "1536", "77", "hwv:3",
                                       "region:eu", "build:1234"};
  EXPECT_EQ(expected, header_strings(first, expected.size()));
  // Filler numbers from the seeded generator, zeros up to 256, then the low bytes of the following draws.
  srand48(77);
  size_t offset = 0;
  for (const std::string& string : strings) offset += string.size() + 1;
  for (size_t i = expected.size(); i < strings.size(); ++i) {
    EXPECT_EQ(std::to_string(lrand48() % 100000000), strings[i]);
  }
  EXPECT_EQ(std::string(256 - offset, '\0'), std::string(first + offset, 256 - offset));
  for (int i = 256; i < FW_FILE_HEADER_SIZE; ++i) ASSERT_EQ((char)(lrand48() & 0xFF), first[i]) << i;

  // Other flash formats carry neither text; no params is fine.
  ASSERT_EQ(0, fw_generate_fw_file_header(second, "text a", 10, -5, "format2", "text b", 1, nullptr));
  EXPECT_EQ((std::vector<std::string>{"format2", "522", "-5", "hwv:1"}), header_strings(second, 4));

  // Long texts push the strings past 256: random bytes start right after them, and no
  // parameter fits any more.
  std::string long_text(300, 't');
  ASSERT_EQ(0, fw_generate_fw_file_header(second, "a", 0, 1, "format1", long_text.c_str(), 0, nullptr));
  EXPECT_EQ((std::vector<std::string>{long_text, "format1", "a", "512", "1", "hwv:0"}), header_strings(second, 6));
  srand48(1);
  EXPECT_EQ((char)(lrand48() & 0xFF), second[300 + 1 + 8 + 2 + 4 + 2 + 6]);
  EXPECT_EQ(-1, fw_generate_fw_file_header(second, "a", 0, 1, "format1", long_text.c_str(), 0, &params));
  // Text B, "format1", "", "512", "1" and "hwv:0" take 22 bytes more than text B's length: up to a
  // length of 490 they fit, beyond it each string in turn overflows the header.
  for (size_t length = 490; length <= 513; ++length) {
    std::string text(length, 't');
    EXPECT_EQ(length > 490 ? -1 : 0, fw_generate_fw_file_header(second, "", 0, 1, "format1", text.c_str(), 0, nullptr));
  }
}

// "format2", "512", "1" and "hwv:0" take 20 bytes: a parameter "k:VALUE" after them may end at offset 256,
// and strings that end at offset 156 get no filler (one byte less, and a filler number follows).
TEST(FirmwareHeader, ParametersMustPairUpAndEndBeforeOffset256) {
  char header[FW_FILE_HEADER_SIZE];
  std::string value;
  char* items[] = {(char*)"k", nullptr, (char*)"odd"};
  struct Case { int size; size_t length; int result; size_t strings; };
  for (const Case& c : std::vector<Case>{
           {3, 1, -1, 0}, {2, 233, 0, 5}, {2, 234, -1, 0}, {2, 133, 0, 5}, {2, 132, 0, 6}}) {
    value.assign(c.length, 'v');
    items[1] = &value[0];
    string_array params = {c.size, items};
    ASSERT_EQ(c.result, fw_generate_fw_file_header(header, "", 0, 1, "format2", "", 0, &params)) << c.length;
    if (c.result != 0) continue;
    EXPECT_EQ(c.strings, header_strings(header, FW_FILE_HEADER_SIZE, 256).size()) << c.length;
    EXPECT_EQ("k:" + value, header_strings(header)[4]) << c.length;
  }

  char buffer[8] = "xxxxxxx";
  EXPECT_EQ(-1, fw_put_header_param(buffer, 5, "ab", "cd"));
  EXPECT_STREQ("xxxxxxx", buffer);
  EXPECT_EQ(6, fw_put_header_param(buffer, 6, "ab", "cd"));
  EXPECT_STREQ("ab:cd", buffer);
  EXPECT_EQ(1, fw_put_header_param(buffer, 1, "", nullptr));  // an empty plain string fits in one byte
}

TEST(FirmwareHeader, WalkingStringsAndFindingParameters) {
  const char text[] = "first\0second\0x:1\0hwv:3\0name:value\0named:other\0:empty\0filler\0name:late";
  const char* end = text + sizeof text - 1;  // the last string runs to the end
  const char* cursor = text;
  EXPECT_STREQ("second", fw_parse_next_zt_string(&cursor, end));
  EXPECT_EQ(text + 6, cursor);
  // With `end` after its terminator "cd" is whole; one byte less, and it runs to `end`.
  const char two[] = "ab\0cd";
  EXPECT_STREQ("cd", (cursor = two, fw_parse_next_zt_string(&cursor, two + 6)));
  cursor = two;
  EXPECT_EQ(nullptr, fw_parse_next_zt_string(&cursor, two + 5));  // the next string reaches `end`
  EXPECT_EQ(two + 2, cursor);                                      // left on the current one's terminator
  cursor = two + 3;
  EXPECT_EQ(nullptr, fw_parse_next_zt_string(&cursor, two + 5));  // the current one does
  EXPECT_EQ(two + 5, cursor);

  // From the string at `start` (never matched itself) to the first string without ':'.
  const char* x = text + 13;
  struct Param { const char *start, *name, *value; };
  for (const Param& c : std::vector<Param>{
           {x, "name", "value"}, {x, "named", "other"}, {x, "", "empty"}, {x, "hwv", "3"}, {x, "x", nullptr},
           {x, "nam", nullptr}, {x, "late", nullptr}, {text, "name", nullptr}}) {
    EXPECT_STREQ(c.value, fw_get_header_param_value(c.start, end, c.name)) << c.name;
  }
}

TEST(FirmwareBody, ChecksumAndBlockCipher) {
  unsigned int sum = 5;
  const unsigned char bytes[] = {0xFF, 0x80, 0x01};
  for (int length : {3, 0, -1}) fw_checksum_block(bytes, length, &sum);
  EXPECT_EQ(5u + 0xFF + 0x80 + 0x01, sum);

  // A block of zeros shows the key: the second half becomes key bytes, which cancel in the first.
  Bytes key(64, 0);
  fw_encrypt_body_block(key.data(), 64);
  EXPECT_EQ(Bytes(32, 0), Bytes(key.begin(), key.begin() + 32));
  key.erase(key.begin(), key.begin() + 32);
  EXPECT_NE(Bytes(32, 0), key);
  Bytes five = {1, 2, 3, 4, 5};
  fw_encrypt_body_block(five.data(), 5);
  EXPECT_EQ((Bytes{(unsigned char)(1 ^ 3 ^ key[2] ^ key[0]), (unsigned char)(2 ^ 4 ^ key[3] ^ key[1]),
                   (unsigned char)(3 ^ key[2]), (unsigned char)(4 ^ key[3]), (unsigned char)(5 ^ key[4])}),
            five);
  std::mt19937 random(3);
  for (int length = 0; length <= 70; ++length) {
    Bytes block(length);
    for (auto& byte : block) byte = (unsigned char)random();
    Bytes scrambled = block;
    fw_encrypt_body_block(scrambled.data(), length);
    EXPECT_EQ(length == 0, block == scrambled) << length;
    fw_decrypt_body_block(scrambled.data(), length);
    EXPECT_EQ(block, scrambled) << length;
  }
}

#ifdef VONAUTIL_DEV_KEY_DIR
namespace {

// A DER-encoded DSA signature over `digest` made with a development private key (empty on failure).
Bytes sign_digest(const char* key_file, const Bytes& digest) {
  FILE* file = fopen((std::string(VONAUTIL_DEV_KEY_DIR) + "/" + key_file).c_str(), "r");
  EVP_PKEY* key = file ? PEM_read_PrivateKey(file, nullptr, nullptr, nullptr) : nullptr;
  if (file) fclose(file);
  EVP_PKEY_CTX* context = key ? EVP_PKEY_CTX_new(key, nullptr) : nullptr;
  Bytes signature(key ? EVP_PKEY_get_size(key) : 0);
  size_t length = signature.size();
  if (!context || EVP_PKEY_sign_init(context) != 1 ||
      EVP_PKEY_sign(context, signature.data(), &length, digest.data(), digest.size()) != 1) {
    length = 0;
  }
  signature.resize(length);
  EVP_PKEY_CTX_free(context);
  EVP_PKEY_free(key);
  return signature;
}

}  // namespace

TEST(FirmwareSignature, DevelopmentKeysSignAndChangesAreRefused) {
  // The keys have a 160-bit q, so a digest counts up to its first 20 bytes (a SHA-1 digest).
  const Bytes digest(20, 0x5A);
  Bytes firmware = sign_digest("firmware_dsa_private.pem", digest), das = sign_digest("das_dsa_private.pem", digest);
  ASSERT_FALSE(firmware.empty() || das.empty());
  Bytes changed = digest, forged = firmware;
  changed[19] ^= 1;
  forged.back() ^= 1;
  using Verify = int (*)(const unsigned char*, int, const unsigned char*, int);
  const Verify dsa = fw_verify_dsa_signature, das_dsa = fw_verify_das_dsa_signature;
  const int length = (int)digest.size(), size = (int)firmware.size();
  struct Case { Verify verify; const Bytes* digest; int length; const Bytes* signature; int size, expected; };
  const std::vector<Case> cases = {
           {dsa, &digest, length, &firmware, size, 1}, {das_dsa, &digest, length, &das, (int)das.size(), 1},
           {das_dsa, &digest, length, &firmware, size, 0}, {dsa, &digest, length, &das, (int)das.size(), 0},
           {dsa, &changed, length, &firmware, size, 0}, {dsa, &digest, length - 1, &firmware, size, 0},
           {dsa, &digest, length, &forged, size, 0}, {dsa, &digest, length, &firmware, size - 1, 0},
           {dsa, nullptr, 0, &firmware, size, 0}, {dsa, &digest, length, nullptr, 0, 0}};
  for (const Case& c : cases) {
    EXPECT_EQ(c.expected, c.verify(c.digest ? c.digest->data() : nullptr, c.length,
                                   c.signature ? c.signature->data() : nullptr, c.size)) << "row " << &c - cases.data();
  }
}
#endif

// The identity getters keep their first result for the life of the process, so each case runs
// in a child process of its own (the test process itself never calls them).
using FirmwareIdentity = test::SandboxTest;

// A missing or empty identity file ends the process; otherwise the first lines and the base
// information are read once.
TEST_F(FirmwareIdentity, FirstLinesAndBaseInfoAreReadOnceAndMissingFilesEndTheProcess) {
  std::string config = sandbox.path("/firmware/config/");
  EXPECT_EXIT(get_product_id(), testing::ExitedWithCode(1),
              "^Can not open '" + config + "product_id.txt' for read: No such file or directory\\.\n$");
  test::make_dirs(config);
  test::write_file(config + "firmware_version.txt", "");
  EXPECT_EXIT(get_firmware_version(), testing::ExitedWithCode(1),
              "^Fatal error: can not read '" + config + "firmware_version.txt'\\.\n$");

  test::write_file(config + "product_id.txt", "vona_abc_1\r\nsecond line\n");
  test::write_file(config + "upgrade_product_id_prefix.txt", "vona_abc");
  test::write_file(config + "firmware_version.txt", std::string(70, '7') + "\n");
  test::write_file(config + "base_firmware_info.txt",
                   "product_id: old\nfirmware_version:\t1.0 \nother: x\nproduct_id:  vona_base  \r\n");
  auto print_all = [&] {
    const char* id = get_product_id();
    get_base_product_id();
    test::write_file(config + "product_id.txt", "changed\n");
    test::write_file(config + "base_firmware_info.txt", "product_id: changed\n");
    fprintf(stderr, "[%s][%s][%s][%s][%s][%d]\n", id, get_upgrade_product_id_prefix(), get_firmware_version(),
            get_base_product_id(), get_base_firmware_version(), id == get_product_id());
    exit(0);
  };
  EXPECT_EXIT(print_all(), testing::ExitedWithCode(0),
              "^\\[vona_abc_1\\]\\[vona_abc\\]\\[7{63}\\]\\[vona_base\\]\\[1\\.0\\]\\[1\\]\n$");

  unlink((config + "base_firmware_info.txt").c_str());
  EXPECT_EXIT((fprintf(stderr, "%p %p", (void*)get_base_product_id(), (void*)get_base_firmware_version()), exit(0)),
              testing::ExitedWithCode(0), "^\\(nil\\) \\(nil\\)$");
}

using FirmwareTool = test::SandboxTest;

// The key set is told by name and by a fingerprint that anyone can compute from the key file:
// SHA-256 over the numbers' lower-case hex digits in the file's order, its first 16 digits.
TEST(FirmwareKeys, TheBuiltInSetIsNamedAndFingerprinted) {
  std::istringstream keys(test::read_file(VONAUTIL_KEY_FILE_USED));
  std::string digits;
  for (std::string line, name, hex; std::getline(keys, line);) {
    if (line[0] != '#' && std::istringstream(line) >> name >> hex) {
      for (char c : hex) digits += (char)tolower((unsigned char)c);
    }
  }
  unsigned char sha[EVP_MAX_MD_SIZE];
  unsigned int sha_length = 0;
  ASSERT_EQ(1, EVP_Digest(digits.data(), digits.size(), sha, &sha_length, EVP_sha256(), nullptr));
  char fingerprint[17];
  for (int i = 0; i < 8; ++i) snprintf(fingerprint + 2 * i, 3, "%02x", sha[i]);
  EXPECT_STREQ(fingerprint, fw_get_key_fingerprint());
#ifdef VONAUTIL_DEV_KEY_DIR
  const std::string set = "development", shown = "development (NOT FOR PRODUCTS)";
#else
  const std::string set = "product", shown = set;
#endif
  EXPECT_EQ(set, fw_get_key_set());
  test::expect_tool({{"version", 0,
                      std::string("vonautil ") + vonautil_version() + "\nfirmware keys: " + shown + ", fingerprint " +
                          fingerprint + "\n", true}});
}

TEST_F(FirmwareTool, InspectAndName) {
  char header[FW_FILE_HEADER_SIZE];
  char* items[] = {(char*)"region", (char*)"eu"};
  string_array params = {2, items};
  ASSERT_EQ(0, fw_generate_fw_file_header(header, "text a", 3, 9, "format1", "VONA FIRMWARE FILE [x]", 2, &params));
  std::string path = sandbox.path("/vona_firmware_x_1.dff");
  test::write_file(path, std::string(header, sizeof header) + "\x01\x02\xFF");
  std::string cut = sandbox.path("/cut.dff"), other = sandbox.path("/other.dff");
  test::write_file(cut, std::string(header, sizeof header) + "\x01");
  test::write_file(other, std::string(600, 'x'));
  test::expect_tool({
      {"fw inspect " + path, 0,
       "text B:       VONA FIRMWARE FILE [x]\nflash format: format1\ntext A:       text a\nfile size:    515\n"
       "seed:         9\nhardware:     hwv:2\nparameters:   1\n  region = eu\nfiller:       11 numbers\n"
       "body:         3 bytes, checksum 0x00000102\n", true},
      {"fw inspect " + cut, 1, "the header gives a body of 3 bytes, the file holds 1"},
      {"fw inspect " + other, 1, "is not a firmware file"},
      {"fw name VONA_FIRMWARE_x_1.DFF", 0, "'VONA_FIRMWARE_x_1.DFF' is a firmware file name\n", true},
      {"fw name vona_firmware_x_1.dff y", 1,
       "'vona_firmware_x_1.dff' is not a firmware file name for product id prefix 'y'\n", true},
      {"fw name", 2, ""}, {"fw unpack x", 2, ""}});
}
