// Ordered sets and maps behind C handles.
//
// String-keyed containers are open-addressing hash tables: a lookup hashes the caller's text
// once and compares one stored key in the common case, where a tree compares a key on every
// level of its descent. Key order is produced only where an order can be seen (snapshots,
// the first key, filter and the destroy callbacks of clear), by sorting the entries at that
// moment: byte-wise as unsigned bytes, a shorter string first on a common prefix. Nothing is
// cached by a const operation, so a container that is only read may be read from several
// threads. Each entry is one allocation that never moves, so the text of a stored key or
// value stays valid until that entry is changed or removed.
//
// Identifier containers stay std::set / std::map: their keys compare in one instruction.
#include "player/src/util/mt/containers.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "player/src/util/mt/common.h"
#include "player/src/util/mt/containers.hpp"

namespace {

// 64-bit multiply-and-fold over 8-byte words, finished with a full avalanche so that the low
// bits that pick a slot depend on every byte (keys often differ in one digit only).
inline size_t hash_text(const char* s, size_t n) {
  uint64_t h = 0x9E3779B97F4A7C15ull ^ n;
  for (; n >= 8; s += 8, n -= 8) {
    uint64_t word;
    memcpy(&word, s, 8);
    h = (h ^ word) * 0xff51afd7ed558ccdull;
    h ^= h >> 32;
  }
  uint64_t tail = 0;
  for (size_t i = 0; i < n; ++i) tail |= (uint64_t)(unsigned char)s[i] << (8 * i);
  h = (h ^ tail) * 0xc4ceb9fe1a85ec53ull;
  h ^= h >> 33;
  h *= 0xff51afd7ed558ccdull;
  h ^= h >> 33;
  return (size_t)h;
}

struct NoValue {
  bool operator==(const NoValue&) const { return true; }
};

// One entry: its hash, its key's length and value, then the key text with its NUL.
template <class Value>
struct Entry {
  size_t hash;
  size_t length;
  Value value;

  const char* key() const { return reinterpret_cast<const char*>(this + 1); }

  static Entry* make(const char* key, size_t length, size_t hash, const Value& value) {
    void* memory = malloc(sizeof(Entry) + length + 1);
    Entry* entry = new (memory) Entry{hash, length, value};
    memcpy(reinterpret_cast<char*>(entry + 1), key, length + 1);
    return entry;
  }
  static void destroy(Entry* entry) {
    entry->~Entry();
    free(entry);
  }
};

template <class Value>
bool key_less(const Entry<Value>* a, const Entry<Value>* b) {
  int order = memcmp(a->key(), b->key(), std::min(a->length, b->length));
  return order != 0 ? order < 0 : a->length < b->length;
}

// A key as the caller gave it, measured and hashed once.
struct Key {
  const char* text;
  size_t length;
  size_t hash;
  explicit Key(const char* s) : text(s), length(strlen(s)), hash(hash_text(s, length)) {}
  Key(const char* s, size_t n) : text(s), length(n), hash(hash_text(s, n)) {}
};

// Linear probing over slots that hold the entry's hash beside its pointer, so that a probe
// reads an entry only when the hashes agree. At most three quarters of the slots are used.
template <class Value>
class StringTable {
 public:
  using Item = Entry<Value>;

  StringTable() { reset(kMinSlots); }
  StringTable(const StringTable& other) : slots_(other.slots_.size()), size_(other.size_), mask_(other.mask_) {
    for (size_t i = 0; i < slots_.size(); ++i) {
      if (Item* e = other.slots_[i].entry) slots_[i] = {e->hash, Item::make(e->key(), e->length, e->hash, e->value)};
    }
  }
  StringTable& operator=(const StringTable&) = delete;
  ~StringTable() { destroy_all(); }

  size_t size() const { return size_; }

  Item* find(const Key& key) const {
    for (size_t i = key.hash & mask_;; i = (i + 1) & mask_) {
      const Slot& slot = slots_[i];
      if (slot.entry == nullptr) return nullptr;
      if (slot.hash == key.hash && slot.entry->length == key.length &&
          memcmp(slot.entry->key(), key.text, key.length) == 0) {
        return slot.entry;
      }
    }
  }

  // The entry of `key`, inserted with `value` when the key is new (then *inserted is true).
  Item* find_or_insert(const Key& key, const Value& value, bool* inserted) {
    size_t i = key.hash & mask_;
    for (;; i = (i + 1) & mask_) {
      Slot& slot = slots_[i];
      if (slot.entry == nullptr) break;
      if (slot.hash == key.hash && slot.entry->length == key.length &&
          memcmp(slot.entry->key(), key.text, key.length) == 0) {
        *inserted = false;
        return slot.entry;
      }
    }
    *inserted = true;
    Item* entry = Item::make(key.text, key.length, key.hash, value);
    if ((size_ + 1) * 4 > slots_.size() * 3) {
      grow();
      place(entry);
    } else {
      slots_[i] = {key.hash, entry};
    }
    ++size_;
    return entry;
  }

  // Unlinks the entry of `key` and hands it over (the caller destroys it), or null.
  Item* take(const Key& key) {
    for (size_t i = key.hash & mask_;; i = (i + 1) & mask_) {
      Slot& slot = slots_[i];
      if (slot.entry == nullptr) return nullptr;
      if (slot.hash == key.hash && slot.entry->length == key.length &&
          memcmp(slot.entry->key(), key.text, key.length) == 0) {
        Item* entry = slot.entry;
        close_gap(i);
        --size_;
        return entry;
      }
    }
  }

  // Every entry in key order.
  std::vector<Item*> ordered() const {
    std::vector<Item*> items;
    items.reserve(size_);
    for (const Slot& slot : slots_) {
      if (slot.entry != nullptr) items.push_back(slot.entry);
    }
    std::sort(items.begin(), items.end(), key_less<Value>);
    return items;
  }

  // The entry with the smallest key, or null.
  Item* first() const {
    Item* best = nullptr;
    for (const Slot& slot : slots_) {
      if (slot.entry != nullptr && (best == nullptr || key_less(slot.entry, best))) best = slot.entry;
    }
    return best;
  }

  void clear() {
    destroy_all();
    reset(kMinSlots);
  }

  // Makes room for `count` entries in all, so that inserting up to that many moves no entry.
  void reserve(size_t count) {
    size_t slots = slots_.size();
    while (count * 4 > slots * 3) slots *= 2;
    if (slots != slots_.size()) rehash(slots);
  }

  void swap(StringTable& other) {
    slots_.swap(other.slots_);
    std::swap(size_, other.size_);
    std::swap(mask_, other.mask_);
  }

 private:
  struct Slot {
    size_t hash;
    Item* entry;  // null: free
  };
  static constexpr size_t kMinSlots = 8;

  void reset(size_t count) {
    slots_.assign(count, Slot{0, nullptr});
    mask_ = count - 1;
    size_ = 0;
  }

  void destroy_all() {
    for (Slot& slot : slots_) {
      if (slot.entry != nullptr) Item::destroy(slot.entry);
    }
  }

  void place(Item* entry) {
    size_t i = entry->hash & mask_;
    while (slots_[i].entry != nullptr) i = (i + 1) & mask_;
    slots_[i] = {entry->hash, entry};
  }

  void grow() { rehash(slots_.size() * 2); }

  void rehash(size_t count) {
    std::vector<Slot> old(count, Slot{0, nullptr});
    old.swap(slots_);
    mask_ = slots_.size() - 1;
    for (const Slot& slot : old) {
      if (slot.entry != nullptr) place(slot.entry);
    }
  }

  // Empties slot i and moves later entries of the probe run back, so that every entry stays
  // reachable from its home slot without tombstones.
  void close_gap(size_t i) {
    for (size_t j = (i + 1) & mask_; slots_[j].entry != nullptr; j = (j + 1) & mask_) {
      size_t home = slots_[j].hash & mask_;
      if (((j - home) & mask_) >= ((j - i) & mask_)) {
        slots_[i] = slots_[j];
        i = j;
      }
    }
    slots_[i] = Slot{0, nullptr};
  }

  std::vector<Slot> slots_;
  size_t size_ = 0;
  size_t mask_ = 0;
};

}  // namespace

struct C_StringSet {
  StringTable<NoValue> items;
};
struct C_StringMap {
  StringTable<std::string> items;
};
struct C_LongByStringMap {
  StringTable<long long> items;
};
struct C_ObjectByStringMap {
  StringTable<void*> items;
};
struct C_IdSet {
  std::set<long long> items;
};
struct C_ObjectByIdMap {
  std::map<long long, void*> items;
};

namespace {

template <class Value>
const char* key_text(const Entry<Value>* entry) {
  return entry->key();
}
const char* value_text(const Entry<std::string>* entry) { return entry->value.c_str(); }
long long id_of(long long id) { return id; }
long long key_id(const std::pair<const long long, void*>& entry) { return entry.first; }

// A malloc'd array of pick(item) for every item in order, followed by one zero slot
// (null for strings, 0 for identifiers).
template <class Items, class Pick>
auto snapshot(const Items& items, Pick pick) {
  using Slot = decltype(pick(*items.begin()));
  Slot* out = static_cast<Slot*>(malloc((items.size() + 1) * sizeof(Slot)));
  if (out == nullptr) return out;
  Slot* slot = out;
  for (const auto& item : items) *slot++ = pick(item);
  *slot = Slot();
  return out;
}

template <class Value, class Pick>
auto ordered_snapshot(const StringTable<Value>& table, Pick pick) {
  return snapshot(table.ordered(), pick);
}

template <class Container>
int size_of(const Container& items) {
  return static_cast<int>(items.size());
}

// Inserts or replaces; 1 on a change, 0 when the key already had this value.
template <class Value>
int put_value(StringTable<Value>& table, const Key& key, const Value& value) {
  bool inserted;
  auto* entry = table.find_or_insert(key, value, &inserted);
  if (inserted) return 1;
  if (entry->value == value) return 0;
  entry->value = value;
  return 1;
}

template <class Value>
int erase_key(StringTable<Value>& table, const Key& key) {
  auto* entry = table.take(key);
  if (entry == nullptr) return 0;
  Entry<Value>::destroy(entry);
  return 1;
}

template <class Container>
int erase_id(Container& items, long long id) {
  auto it = items.find(id);
  if (it == items.end()) return 0;
  items.erase(it);
  return 1;
}

void release(void* object, MY_ObjectDestroyFunc destroy) {
  if (destroy != nullptr && object != nullptr) destroy(object);
}

// The put rule of both object maps. The old object is released after the new one is
// stored, so a destroy callback never sees the map holding a dead object.
int put_object(StringTable<void*>& table, const Key& key, void* object, MY_ObjectDestroyFunc destroy) {
  bool inserted;
  Entry<void*>* entry = table.find_or_insert(key, object, &inserted);
  if (inserted) return 1;
  if (entry->value == object) return 0;
  release(std::exchange(entry->value, object), destroy);
  return 1;
}

int put_object(std::map<long long, void*>& map, long long id, void* object, MY_ObjectDestroyFunc destroy) {
  auto [it, inserted] = map.emplace(id, object);
  if (inserted) return 1;
  if (it->second == object) return 0;
  release(std::exchange(it->second, object), destroy);
  return 1;
}

// Empties the map first and then releases the objects in key order, so that callbacks see an
// empty map.
void clear_objects(StringTable<void*>& table, MY_ObjectDestroyFunc destroy) {
  StringTable<void*> dropped;
  dropped.swap(table);
  if (destroy == nullptr) return;
  for (Entry<void*>* entry : dropped.ordered()) release(entry->value, destroy);
}

void clear_objects(std::map<long long, void*>& map, MY_ObjectDestroyFunc destroy) {
  std::map<long long, void*> dropped;
  dropped.swap(map);
  if (destroy == nullptr) return;
  for (const auto& entry : dropped) release(entry.second, destroy);
}

}  // namespace

// --- string_set -------------------------------------------------------------------------

C_StringSet* string_set_create(void) { return new C_StringSet(); }

int string_set_add(C_StringSet* set, const char* s) {
  MY_ASSERT_SIGNATURE(s);
  bool inserted;
  set->items.find_or_insert(Key(s), NoValue(), &inserted);
  return inserted;
}

int string_set_contains(const C_StringSet* set, const char* s) {
  MY_ASSERT_SIGNATURE(s);
  return set->items.find(Key(s)) != nullptr;
}

int string_set_remove(C_StringSet* set, const char* s) {
  MY_ASSERT_SIGNATURE(s);
  return erase_key(set->items, Key(s));
}

int string_set_size(const C_StringSet* set) { return size_of(set->items); }

const char** string_set_get_all(const C_StringSet* set) { return ordered_snapshot(set->items, key_text<NoValue>); }

C_StringSet* string_set_copy(const C_StringSet* set) { return set ? new C_StringSet(*set) : nullptr; }

void string_set_clear(C_StringSet* set) { set->items.clear(); }

void string_set_free(C_StringSet* set) { delete set; }

// --- string_map -------------------------------------------------------------------------

C_StringMap* string_map_create(void) { return new C_StringMap(); }

int string_map_put(C_StringMap* map, const char* key, const char* value) {
  MY_ASSERT_SIGNATURE(key);
  if (value == nullptr) return erase_key(map->items, Key(key));
  bool inserted;
  Entry<std::string>* entry = map->items.find_or_insert(Key(key), std::string(), &inserted);
  if (!inserted && entry->value == value) return 0;
  entry->value = value;
  return 1;
}

const char* string_map_get(const C_StringMap* map, const char* key) {
  MY_ASSERT_SIGNATURE(key);
  const Entry<std::string>* entry = map->items.find(Key(key));
  return entry == nullptr ? nullptr : entry->value.c_str();
}

int string_map_remove(C_StringMap* map, const char* key) {
  MY_ASSERT_SIGNATURE(key);
  return erase_key(map->items, Key(key));
}

int string_map_size(const C_StringMap* map) { return size_of(map->items); }

const char** string_map_get_keys(const C_StringMap* map) {
  return ordered_snapshot(map->items, key_text<std::string>);
}

const char** string_map_get_values(const C_StringMap* map) { return ordered_snapshot(map->items, value_text); }

const char* string_map_first_key(const C_StringMap* map) {
  const Entry<std::string>* first = map->items.first();
  return first == nullptr ? nullptr : first->key();
}

C_StringMap* string_map_copy(const C_StringMap* map) { return map ? new C_StringMap(*map) : nullptr; }

void string_map_clear(C_StringMap* map) { map->items.clear(); }

void string_map_free(C_StringMap* map) { delete map; }

// --- long_by_string_map -----------------------------------------------------------------

C_LongByStringMap* long_by_string_map_create(void) { return new C_LongByStringMap(); }

int long_by_string_map_put(C_LongByStringMap* map, const char* key, long long value) {
  MY_ASSERT_SIGNATURE(key);
  return put_value(map->items, Key(key), value);
}

long long long_by_string_map_get(const C_LongByStringMap* map, const char* key, long long default_value) {
  MY_ASSERT_SIGNATURE(key);
  const Entry<long long>* entry = map->items.find(Key(key));
  return entry == nullptr ? default_value : entry->value;
}

int long_by_string_map_remove(C_LongByStringMap* map, const char* key) {
  MY_ASSERT_SIGNATURE(key);
  return erase_key(map->items, Key(key));
}

int long_by_string_map_size(const C_LongByStringMap* map) { return size_of(map->items); }

const char** long_by_string_map_get_keys(const C_LongByStringMap* map) {
  return ordered_snapshot(map->items, key_text<long long>);
}

void long_by_string_map_clear(C_LongByStringMap* map) { map->items.clear(); }

void long_by_string_map_free(C_LongByStringMap* map) { delete map; }

void vona::long_by_string_map_reserve(C_LongByStringMap* map, size_t count) { map->items.reserve(count); }

long long* vona::long_by_string_map_find_or_insert(C_LongByStringMap* map, const char* key, size_t length,
                                                   long long value, bool* inserted) {
  return &map->items.find_or_insert(Key(key, length), value, inserted)->value;
}

// --- object_by_string_map ---------------------------------------------------------------

C_ObjectByStringMap* object_by_string_map_create(void) { return new C_ObjectByStringMap(); }

int object_by_string_map_put(C_ObjectByStringMap* map, const char* key, void* object, MY_ObjectDestroyFunc destroy) {
  MY_ASSERT_SIGNATURE(key);
  return put_object(map->items, Key(key), object, destroy);
}

void* object_by_string_map_get(const C_ObjectByStringMap* map, const char* key) {
  MY_ASSERT_SIGNATURE(key);
  const Entry<void*>* entry = map->items.find(Key(key));
  return entry == nullptr ? nullptr : entry->value;
}

int object_by_string_map_contains_key(const C_ObjectByStringMap* map, const char* key) {
  MY_ASSERT_SIGNATURE(key);
  return map->items.find(Key(key)) != nullptr;
}

int object_by_string_map_remove(C_ObjectByStringMap* map, const char* key, MY_ObjectDestroyFunc destroy) {
  MY_ASSERT_SIGNATURE(key);
  Entry<void*>* entry = map->items.take(Key(key));
  if (entry == nullptr) return 0;
  void* object = entry->value;
  Entry<void*>::destroy(entry);
  release(object, destroy);
  return 1;
}

int object_by_string_map_filter(C_ObjectByStringMap* map, MY_ObjectKeepFunc keep, void* context,
                                MY_ObjectDestroyFunc destroy) {
  MY_ASSERT(keep);
  int removed = 0;
  for (Entry<void*>* entry : map->items.ordered()) {
    if (keep(entry->key(), entry->value, context)) continue;
    map->items.take(Key(entry->key(), entry->length));
    void* object = entry->value;
    Entry<void*>::destroy(entry);
    release(object, destroy);
    ++removed;
  }
  return removed;
}

int object_by_string_map_size(const C_ObjectByStringMap* map) { return size_of(map->items); }

const char** object_by_string_map_get_keys(const C_ObjectByStringMap* map) {
  return ordered_snapshot(map->items, key_text<void*>);
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

int id_set_remove(C_IdSet* set, long long id) { return erase_id(set->items, id); }

int id_set_size(const C_IdSet* set) { return size_of(set->items); }

long long* id_set_get_all(const C_IdSet* set) { return snapshot(set->items, id_of); }

void id_set_clear(C_IdSet* set) { set->items.clear(); }

void id_set_free(C_IdSet* set) { delete set; }

// --- object_by_id_map -------------------------------------------------------------------

C_ObjectByIdMap* object_by_id_map_create(void) { return new C_ObjectByIdMap(); }

int object_by_id_map_put(C_ObjectByIdMap* map, long long id, void* object, MY_ObjectDestroyFunc destroy) {
  return put_object(map->items, id, object, destroy);
}

void* object_by_id_map_get(const C_ObjectByIdMap* map, long long id) {
  auto it = map->items.find(id);
  return it == map->items.end() ? nullptr : it->second;
}

int object_by_id_map_contains_key(const C_ObjectByIdMap* map, long long id) { return map->items.count(id) != 0; }

int object_by_id_map_remove(C_ObjectByIdMap* map, long long id, MY_ObjectDestroyFunc destroy) {
  auto it = map->items.find(id);
  if (it == map->items.end()) return 0;
  void* object = it->second;
  map->items.erase(it);
  release(object, destroy);
  return 1;
}

int object_by_id_map_size(const C_ObjectByIdMap* map) { return size_of(map->items); }

long long* object_by_id_map_get_keys(const C_ObjectByIdMap* map) { return snapshot(map->items, key_id); }

void object_by_id_map_clear(C_ObjectByIdMap* map, MY_ObjectDestroyFunc destroy) { clear_objects(map->items, destroy); }

void object_by_id_map_free(C_ObjectByIdMap* map, MY_ObjectDestroyFunc destroy) {
  if (map == nullptr) return;
  clear_objects(map->items, destroy);
  delete map;
}
