#include "player/src/util/mt/settings_provider.h"

#include <pthread.h>

#include <set>
#include <string>

namespace {

const char kDefaultLanguage[] = "english";

pthread_mutex_t settings_mutex = PTHREAD_MUTEX_INITIALIZER;

struct Settings {
  const char* interface_language = kDefaultLanguage;
  int interface_language_custom = 0;
  const char* default_interface_language = kDefaultLanguage;
  int nfs_path_encoding = 0;
  int ext2_ext3_path_encoding = 0;
};
Settings settings;

// Every language name ever set, kept so that the pointers handed out stay valid while other
// threads change the setting.
std::set<std::string>& names() {
  static std::set<std::string>* all = new std::set<std::string>();
  return *all;
}

class Lock {
 public:
  Lock() { pthread_mutex_lock(&settings_mutex); }
  ~Lock() { pthread_mutex_unlock(&settings_mutex); }
};

void set_name(const char** field, const char* language) {
  Lock lock;
  *field = language ? names().insert(language).first->c_str() : kDefaultLanguage;
}

template <typename T>
T get(const T& field) {
  Lock lock;
  return field;
}

template <typename T>
void set(T* field, T value) {
  Lock lock;
  *field = value;
}

}  // namespace

void settings_provider_set_interface_language(const char* language) {
  set_name(&settings.interface_language, language);
}
const char* settings_provider_get_interface_language(void) { return get(settings.interface_language); }

void settings_provider_set_interface_language_custom(int is_custom) {
  set(&settings.interface_language_custom, is_custom ? 1 : 0);
}
int settings_provider_is_interface_language_custom(void) { return get(settings.interface_language_custom); }

void settings_provider_set_default_interface_language(const char* language) {
  set_name(&settings.default_interface_language, language);
}
const char* settings_provider_get_default_interface_language(void) {
  return get(settings.default_interface_language);
}

void settings_provider_set_nfs_path_encoding(int value) { set(&settings.nfs_path_encoding, value); }
int settings_provider_get_nfs_path_encoding(void) { return get(settings.nfs_path_encoding); }

void settings_provider_set_ext2_ext3_path_encoding(int value) { set(&settings.ext2_ext3_path_encoding, value); }
int settings_provider_get_ext2_ext3_path_encoding(void) { return get(settings.ext2_ext3_path_encoding); }

void settings_provider_reset(void) { set(&settings, Settings()); }
