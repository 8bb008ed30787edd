// vonautil translation: what translators need to check their files, and a look into them.
#include <pthread.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "command.hpp"
#include "player/src/util/mt/fixed_path.hpp"
#include "player/src/util/mt/translation.hpp"
#include "vonautil.h"

namespace tool {
namespace {

const char kName[] = "translation";

// A translation read quietly; null after saying why (the parser's own messages come first).
translation* load(const std::string& path) {
  translation* t = T_load_translation(path.c_str(), 1);
  if (t == nullptr) failure(kName, "cannot load '" + path + "'");
  return t;
}

struct CheckReport {
  const std::string* path;
  FILE* out;
  int errors = 0;
  int warnings = 0;  // keys the reference does not know: dead weight, not harm
};

void print_message(void* context, int line, int kind, const char* text) {
  CheckReport* report = static_cast<CheckReport*>(context);
  if (kind == T_MESSAGE_UNKNOWN_KEY) report->warnings++;
  else report->errors++;
  if (line > 0) fprintf(report->out, "%s:%d: %s\n", report->path->c_str(), line, text);
  else fprintf(report->out, "%s: %s\n", report->path->c_str(), text);
}

std::string count(int n, const char* word) { return std::to_string(n) + " " + word + (n == 1 ? "" : "s"); }

// Prints every message of the file, then a summary; kFailed when there was an error.
int check_file(const std::string& path, const std::string& reference_path, FILE* out) {
  translation* reference = nullptr;
  if (!reference_path.empty() && (reference = load(reference_path)) == nullptr) return kFailed;
  CheckReport report{&path, out};
  bool opened = vona::check_translation_file(path.c_str(), reference, print_message, &report);
  int error = errno;
  T_free_translation(reference);
  if (!opened) return failure(kName, "cannot read '" + path + "': " + strerror(error));
  if (report.errors + report.warnings == 0) fprintf(out, "%s: no problems\n", path.c_str());
  else fprintf(out, "%s: %s, %s\n", path.c_str(), count(report.errors, "error").c_str(), count(report.warnings, "warning").c_str());
  return report.errors ? kFailed : kOk;
}

int run_check(const std::vector<std::string>& args) {
  std::string file, reference;
  for (size_t i = 1; i < args.size(); ++i) {
    if (args[i] == "--reference" && i + 1 < args.size()) reference = args[++i];
    else if (file.empty() && args[i].compare(0, 2, "--") != 0) file = args[i];
    else return usage_error(kName, "check takes FILE [--reference REF]");
  }
  if (file.empty()) return usage_error(kName, "check takes FILE [--reference REF]");
  return check_file(file, reference, stdout);
}

int run_get(const std::vector<std::string>& args) {
  if (args.size() < 3) return usage_error(kName, "get takes FILE KEY...");
  translation* t = load(args[1]);
  if (t == nullptr) return kFailed;
  int status = kOk;
  for (size_t i = 2; i < args.size(); ++i) {
    if (const char* value = T_get_value(t, args[i].c_str())) printf("%s\n", value);
    else status = failure(kName, "no key '" + args[i] + "' in '" + args[1] + "'");
  }
  T_free_translation(t);
  return status;
}

int run_stats(const std::vector<std::string>& args) {
  if (args.size() != 2) return usage_error(kName, "stats takes FILE");
  translation* t = load(args[1]);
  if (t == nullptr) return kFailed;
  const vona::TranslationStatistics& s = t->statistics;
  printf("entries: %d\nnot translated: %d\ncollisions: %d (%d%%)\nlongest bucket: %d\n", s.entries, s.not_translated,
         s.collisions, s.entries ? 100 * s.collisions / s.entries : 0, s.max_row_entries);
  T_free_translation(t);
  return kOk;
}

int run_translation(const std::vector<std::string>& args) {
  return run_sub_command(kName, args, {{"check", run_check}, {"get", run_get}, {"stats", run_stats}});
}

TOOL_COMMAND("translation", "check translation files, look texts up, show table statistics",
             "Usage: vonautil translation check FILE [--reference REF]\n"
             "       vonautil translation get FILE KEY...\n"
             "       vonautil translation stats FILE\n"
             "check   prints every problem of FILE as FILE:LINE: MESSAGE: format errors, bad\n"
             "        placeholders, a number of \"%s\" that differs from the one in the key name\n"
             "        (\"name__2\" takes two). With --reference, also the keys of REF that FILE\n"
             "        lacks or gives twice (errors) and the keys REF does not have (warnings;\n"
             "        plug-in keys are not reported). Exit status 1 when there is an error.\n"
             "get     prints the text of each KEY, one a line (exit status 1 if one is missing).\n"
             "stats   entries, entries marked as not translated (\"@key = ...\"), entries that\n"
             "        share their table bucket, and the longest bucket.\n",
             run_translation);

// --- demo ----------------------------------------------------------------------------------

void write(const std::string& path, const char* text) {
  if (FILE* f = fopen(path.c_str(), "w")) {
    fputs(text, f);
    fclose(f);
  }
}

struct Reader {
  translation* table;
  bool owned;
  std::string text;
};

// Each thread looks the same key up in its own current translation.
void* read_in_thread(void* argument) {
  Reader* reader = static_cast<Reader*>(argument);
  T_mt_set_current_translation(reader->table, reader->owned);
  reader->text = T_mt_t("menu_setup");
  return nullptr;  // an owned translation is freed as the thread ends
}

void demo_translation() {
  std::string dir = vona::fixed_path("/firmware/translations");
  mkdir(vona::fixed_path("/firmware").c_str(), 0755);
  mkdir(dir.c_str(), 0755);
  std::string language = settings_provider_get_interface_language();
  std::string english = dir + "/" + language + ".txt", german = dir + "/german.txt", radio = dir + "/radio.txt";
  write(english, "# texts of the shell\nmenu_setup = Setup\nmenu_videos = Videos\nfree_space__1 = %s free\n");
  write(german, "menu_setup = Einstellungen\nmenu_videos = Videos\nfree_space__1 = %s frei\n");
  write(radio, "title = Internet radio\n@stations__1 = %s stations\n");
  printf("Interface language '%s': loading %s\n", language.c_str(), english.c_str());
  fflush(stdout);
  translation* shell = T_load_translation(english.c_str(), 0);
  T_append_translation(shell, radio.c_str(), "Radio_plugin_");
  fflush(stderr);
  T_set_current_translation(shell);
  printf("T_t(\"free_space__1\") = \"%s\", T_t(\"Radio_plugin_title\") = \"%s\"\n", T_t("free_space__1"),
         T_t("Radio_plugin_title"));

  Reader readers[] = {{shell, false, ""}, {T_load_translation(german.c_str(), 1), true, ""}};
  pthread_t threads[2];
  for (int i = 0; i < 2; ++i) pthread_create(&threads[i], nullptr, read_in_thread, &readers[i]);
  for (pthread_t thread : threads) pthread_join(thread, nullptr);
  printf("Two threads, each with its own current translation: T_mt_t(\"menu_setup\") = \"%s\" and \"%s\"\n",
         readers[0].text.c_str(), readers[1].text.c_str());

  std::string broken = dir + "/german_broken.txt";
  write(broken, "menu_setup = Einstellungen\nfree_space__1 = frei\n");
  printf("\n$ vonautil translation check german_broken.txt --reference %s.txt\n", language.c_str());
  printf("exit status %d\n", check_file(broken, english, stdout));
  // The process-wide translation stays for the life of the process, as the shell's does.
}

TOOL_DEMO_STEP(42, "Translations: loading, plug-in texts, per-thread lookups and checking", demo_translation);

}  // namespace
}  // namespace tool
