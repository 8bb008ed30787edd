// Ordered sets and maps: thin C handles over std::set / std::map.
//
// String-keyed trees use the transparent comparator std::less<>, so that a lookup compares
// the caller's text as a std::string_view (one strlen per call) instead of building a
// std::string per call. std::string compares as unsigned bytes with the shorter string first
// on a common prefix, which is the documented key order. Tree nodes never move, so the
// c_str() of a stored key or value stays valid until that entry is changed or removed, which
// is what lets snapshots and lookups hand out borrowed strings.
#include "player/src/util/mt/containers.h"

#include <cstdlib>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "player/src/util/mt/common.h"

template <class Value>
using ByString = std::map<std::string, Value, std::less<>>;

struct C_StringSet {
  std::set<std::string, std::less<>> items;
};
struct C_StringMap {
  ByString<std::string> items;
};
struct C_LongByStringMap {
  ByString<long long> items;
};
struct C_ObjectByStringMap {
  ByString<void*> items;
};
struct C_IdSet {
  std::set<long long> items;
};
struct C_ObjectByIdMap {
  std::map<long long, void*> items;
};

namespace {

const char* text_of(const std::string& s) { return s.c_str(); }
template <class Value>
const char* key_text(const std::pair<const std::string, Value>& entry) { return entry.first.c_str(); }
const char* value_text(const std::pair<const std::string, std::string>& entry) { return entry.second.c_str(); }
long long id_of(long long id) { return id; }
long long key_id(const std::pair<const long long, void*>& entry) { return entry.first; }

// A malloc'd array of pick(item) for every item in order, followed by one zero slot
// (null for strings, 0 for identifiers).
template <class Container, class Pick>
auto snapshot(const Container& items, Pick pick) {
  using Slot = decltype(pick(*items.begin()));
  Slot* out = static_cast<Slot*>(malloc((items.size() + 1) * sizeof(Slot)));
  if (out == nullptr) return out;
  Slot* slot = out;
  for (const auto& item : items) *slot++ = pick(item);
  *slot = Slot();
  return out;
}

template <class Container>
int size_of(const Container& items) {
  return static_cast<int>(items.size());
}

// The entry of `key`, inserted with `value` when the key is new (then `second` is true).
// One descent of the tree either way, and a std::string is built only for a new key.
template <class Map, class Key, class Value>
std::pair<typename Map::iterator, bool> find_or_insert(Map& map, const Key& key, const Value& value) {
  auto it = map.lower_bound(key);
  if (it != map.end() && !map.key_comp()(key, it->first)) return {it, false};
  return {map.emplace_hint(it, std::piecewise_construct, std::forward_as_tuple(key), std::forward_as_tuple(value)),
          true};
}

// Inserts or replaces; 1 on a change, 0 when the key already had this value.
template <class Map, class Key, class Value>
int put_value(Map& map, const Key& key, const Value& value) {
  auto [it, inserted] = find_or_insert(map, key, value);
  if (inserted) return 1;
  if (it->second == value) return 0;
  it->second = value;
  return 1;
}

template <class Container, class Key>
int erase_key(Container& items, const Key& key) {
  auto it = items.find(key);
  if (it == items.end()) return 0;
  items.erase(it);
  return 1;
}

void release(void* object, MY_ObjectDestroyFunc destroy) {
  if (destroy != nullptr && object != nullptr) destroy(object);
}

// The put rule of both object maps. The old object is released after the new one is
// stored, so a destroy callback never sees the map holding a dead object.
template <class Map, class Key>
int put_object(Map& map, const Key& key, void* object, MY_ObjectDestroyFunc destroy) {
  auto [it, inserted] = find_or_insert(map, key, object);
  if (inserted) return 1;
  if (it->second == object) return 0;
  release(std::exchange(it->second, object), destroy);
  return 1;
}

template <class Map, class Key>
void* get_object(const Map& map, const Key& key) {
  auto it = map.find(key);
  return it == map.end() ? nullptr : it->second;
}

template <class Map, class Key>
int remove_object(Map& map, const Key& key, MY_ObjectDestroyFunc destroy) {
  auto it = map.find(key);
  if (it == map.end()) return 0;
  void* object = it->second;
  map.erase(it);
  release(object, destroy);
  return 1;
}

// Empties the map first and then releases the objects, so that callbacks see an empty map.
template <class Map>
void clear_objects(Map& map, MY_ObjectDestroyFunc destroy) {
  Map dropped;
  dropped.swap(map);
  if (destroy == nullptr) return;
  for (const auto& entry : dropped) release(entry.second, destroy);
}

}  // namespace

// --- string_set -------------------------------------------------------------------------

C_StringSet* string_set_create(void) { return new C_StringSet(); }

int string_set_add(C_StringSet* set, const char* s) {
  MY_ASSERT_SIGNATURE(s);
  std::string_view text(s);
  auto it = set->items.lower_bound(text);
  if (it != set->items.end() && *it == text) return 0;
  set->items.emplace_hint(it, text);
  return 1;
}

int string_set_contains(const C_StringSet* set, const char* s) {
  MY_ASSERT_SIGNATURE(s);
  return set->items.find(std::string_view(s)) != set->items.end();
}

int string_set_remove(C_StringSet* set, const char* s) {
  MY_ASSERT_SIGNATURE(s);
  return erase_key(set->items, std::string_view(s));
}

int string_set_size(const C_StringSet* set) { return size_of(set->items); }

const char** string_set_get_all(const C_StringSet* set) { return snapshot(set->items, text_of); }

C_StringSet* string_set_copy(const C_StringSet* set) { return set ? new C_StringSet(*set) : nullptr; }

void string_set_clear(C_StringSet* set) { set->items.clear(); }

void string_set_free(C_StringSet* set) { delete set; }

// --- string_map -------------------------------------------------------------------------

C_StringMap* string_map_create(void) { return new C_StringMap(); }

int string_map_put(C_StringMap* map, const char* key, const char* value) {
  MY_ASSERT_SIGNATURE(key);
  if (value == nullptr) return erase_key(map->items, std::string_view(key));
  return put_value(map->items, std::string_view(key), value);
}

const char* string_map_get(const C_StringMap* map, const char* key) {
  MY_ASSERT_SIGNATURE(key);
  auto it = map->items.find(std::string_view(key));
  return it == map->items.end() ? nullptr : it->second.c_str();
}

int string_map_remove(C_StringMap* map, const char* key) {
  MY_ASSERT_SIGNATURE(key);
  return erase_key(map->items, std::string_view(key));
}

int string_map_size(const C_StringMap* map) { return size_of(map->items); }

const char** string_map_get_keys(const C_StringMap* map) { return snapshot(map->items, key_text<std::string>); }

const char** string_map_get_values(const C_StringMap* map) { return snapshot(map->items, value_text); }

const char* string_map_first_key(const C_StringMap* map) {
  return map->items.empty() ? nullptr : map->items.begin()->first.c_str();
}

C_StringMap* string_map_copy(const C_StringMap* map) { return map ? new C_StringMap(*map) : nullptr; }

void string_map_clear(C_StringMap* map) { map->items.clear(); }

void string_map_free(C_StringMap* map) { delete map; }

// --- long_by_string_map -----------------------------------------------------------------

C_LongByStringMap* long_by_string_map_create(void) { return new C_LongByStringMap(); }

int long_by_string_map_put(C_LongByStringMap* map, const char* key, long long value) {
  MY_ASSERT_SIGNATURE(key);
  return put_value(map->items, std::string_view(key), value);
}

long long long_by_string_map_get(const C_LongByStringMap* map, const char* key, long long default_value) {
  MY_ASSERT_SIGNATURE(key);
  auto it = map->items.find(std::string_view(key));
  return it == map->items.end() ? default_value : it->second;
}

int long_by_string_map_remove(C_LongByStringMap* map, const char* key) {
  MY_ASSERT_SIGNATURE(key);
  return erase_key(map->items, std::string_view(key));
}

int long_by_string_map_size(const C_LongByStringMap* map) { return size_of(map->items); }

const char** long_by_string_map_get_keys(const C_LongByStringMap* map) {
  return snapshot(map->items, key_text<long long>);
}

void long_by_string_map_clear(C_LongByStringMap* map) { map->items.clear(); }

void long_by_string_map_free(C_LongByStringMap* map) { delete map; }

// --- object_by_string_map ---------------------------------------------------------------

C_ObjectByStringMap* object_by_string_map_create(void) { return new C_ObjectByStringMap(); }

int object_by_string_map_put(C_ObjectByStringMap* map, const char* key, void* object, MY_ObjectDestroyFunc destroy) {
  MY_ASSERT_SIGNATURE(key);
  return put_object(map->items, std::string_view(key), object, destroy);
}

void* object_by_string_map_get(const C_ObjectByStringMap* map, const char* key) {
  MY_ASSERT_SIGNATURE(key);
  return get_object(map->items, std::string_view(key));
}

int object_by_string_map_contains_key(const C_ObjectByStringMap* map, const char* key) {
  MY_ASSERT_SIGNATURE(key);
  return map->items.find(std::string_view(key)) != map->items.end();
}

int object_by_string_map_remove(C_ObjectByStringMap* map, const char* key, MY_ObjectDestroyFunc destroy) {
  MY_ASSERT_SIGNATURE(key);
  return remove_object(map->items, std::string_view(key), destroy);
}

int object_by_string_map_filter(C_ObjectByStringMap* map, MY_ObjectKeepFunc keep, void* context,
                                MY_ObjectDestroyFunc destroy) {
  MY_ASSERT(keep);
  int removed = 0;
  for (auto it = map->items.begin(); it != map->items.end();) {
    if (keep(it->first.c_str(), it->second, context)) {
      ++it;
      continue;
    }
    void* object = it->second;
    it = map->items.erase(it);
    release(object, destroy);
    ++removed;
  }
  return removed;
}

int object_by_string_map_size(const C_ObjectByStringMap* map) { return size_of(map->items); }

const char** object_by_string_map_get_keys(const C_ObjectByStringMap* map) {
  return snapshot(map->items, key_text<void*>);
}

void object_by_string_map_clear(C_ObjectByStringMap* map, MY_ObjectDestroyFunc destroy) {
  clear_objects(map->items, destroy);
}

void object_by_string_map_free(C_ObjectByStringMap* map, MY_ObjectDestroyFunc destroy) {
  if (map == nullptr) return;
  clear_objects(map->items, destroy);
  delete map;
}

// --- id_set -----------------------------------------------------------------------------

C_IdSet* id_set_create(void) { return new C_IdSet(); }

int id_set_add(C_IdSet* set, long long id) { return set->items.insert(id).second; }

int id_set_contains(const C_IdSet* set, long long id) { return set->items.count(id) != 0; }

int id_set_remove(C_IdSet* set, long long id) { return erase_key(set->items, id); }

int id_set_size(const C_IdSet* set) { return size_of(set->items); }

long long* id_set_get_all(const C_IdSet* set) { return snapshot(set->items, id_of); }

void id_set_clear(C_IdSet* set) { set->items.clear(); }

void id_set_free(C_IdSet* set) { delete set; }

// --- object_by_id_map -------------------------------------------------------------------

C_ObjectByIdMap* object_by_id_map_create(void) { return new C_ObjectByIdMap(); }

int object_by_id_map_put(C_ObjectByIdMap* map, long long id, void* object, MY_ObjectDestroyFunc destroy) {
  return put_object(map->items, id, object, destroy);
}

void* object_by_id_map_get(const C_ObjectByIdMap* map, long long id) { return get_object(map->items, id); }

int object_by_id_map_contains_key(const C_ObjectByIdMap* map, long long id) { return map->items.count(id) != 0; }

int object_by_id_map_remove(C_ObjectByIdMap* map, long long id, MY_ObjectDestroyFunc destroy) {
  return remove_object(map->items, id, destroy);
}

int object_by_id_map_size(const C_ObjectByIdMap* map) { return size_of(map->items); }

long long* object_by_id_map_get_keys(const C_ObjectByIdMap* map) { return snapshot(map->items, key_id); }

void object_by_id_map_clear(C_ObjectByIdMap* map, MY_ObjectDestroyFunc destroy) { clear_objects(map->items, destroy); }

void object_by_id_map_free(C_ObjectByIdMap* map, MY_ObjectDestroyFunc destroy) {
  if (map == nullptr) return;
  clear_objects(map->items, destroy);
  delete map;
}
