/* Ordered sets and maps behind opaque handles: sets of strings and of 64-bit identifiers,
 * and maps from strings to strings, to 64-bit integers and to caller objects, and from
 * identifiers to caller objects.
 *
 * Iteration and snapshot order is ascending key order: strings compare byte by byte as
 * unsigned bytes, a shorter string first when it is a prefix of the other; identifiers
 * compare numerically. Keys and string values are copied in; the caller's objects are not.
 *
 * Key arguments must not be null (an assertion reports the function's full signature).
 * Handles must not be null either, except where a function says that null is accepted.
 * Containers are not locked: each belongs to one thread or is guarded by its owner. */
#ifndef VONAUTIL_CONTAINERS_H
#define VONAUTIL_CONTAINERS_H

#include "export.h"

VONA_BEGIN_DECLS

typedef struct C_StringSet C_StringSet;
typedef struct C_StringMap C_StringMap;
typedef struct C_LongByStringMap C_LongByStringMap;
typedef struct C_ObjectByStringMap C_ObjectByStringMap;
typedef struct C_IdSet C_IdSet;
typedef struct C_ObjectByIdMap C_ObjectByIdMap;

/* Releases a caller object that leaves an object map. The maps call it only when it is
 * non-null, and only for non-null objects. */
typedef void (*MY_ObjectDestroyFunc)(void* object);

/* Decides whether object_by_string_map_filter keeps an entry: non-zero keeps it. */
typedef int (*MY_ObjectKeepFunc)(const char* key, void* object, void* context);

/* Snapshots (the *_get_all, *_get_keys and *_get_values functions) return a malloc'd array
 * in key order that the caller frees with free(). String snapshots end with a null slot and
 * borrow the container's own strings, valid until the container changes. Identifier
 * snapshots hold *_size identifiers followed by one 0 slot. An empty container gives an
 * array with just that last slot. */

/* --- string_set: owned copies of strings --- */

C_StringSet* string_set_create(void);
/* Adds a copy of s; 1 if it was added, 0 if it was already present. */
int string_set_add(C_StringSet* set, const char* s);
int string_set_contains(const C_StringSet* set, const char* s);
/* 1 if s was present and is removed, else 0. */
int string_set_remove(C_StringSet* set, const char* s);
int string_set_size(const C_StringSet* set);
const char** string_set_get_all(const C_StringSet* set);
/* A new set with the same strings; null for a null set. */
C_StringSet* string_set_copy(const C_StringSet* set);
void string_set_clear(C_StringSet* set);
/* Null is accepted. */
void string_set_free(C_StringSet* set);

/* --- string_map: owned key strings to owned value strings --- */

C_StringMap* string_map_create(void);
/* Stores copies of key and value, replacing an existing value: 1 on a change, 0 when the
 * key already had this value. A null value removes the key and returns what
 * string_map_remove returns. */
int string_map_put(C_StringMap* map, const char* key, const char* value);
/* The stored value (borrowed, valid until the map changes) or null. */
const char* string_map_get(const C_StringMap* map, const char* key);
/* 1 if the key was present and is removed, else 0. */
int string_map_remove(C_StringMap* map, const char* key);
int string_map_size(const C_StringMap* map);
const char** string_map_get_keys(const C_StringMap* map);
/* The values in the order of their keys. */
const char** string_map_get_values(const C_StringMap* map);
/* The smallest key (borrowed) or null for an empty map. */
const char* string_map_first_key(const C_StringMap* map);
/* A new map with the same pairs; null for a null map. */
C_StringMap* string_map_copy(const C_StringMap* map);
void string_map_clear(C_StringMap* map);
/* Null is accepted. */
void string_map_free(C_StringMap* map);

/* --- long_by_string_map: owned key strings to signed 64-bit values --- */

C_LongByStringMap* long_by_string_map_create(void);
/* Inserts or replaces: 1 on a change, 0 when the key already had this value. */
int long_by_string_map_put(C_LongByStringMap* map, const char* key, long long value);
/* The stored value, or default_value when the key is absent. */
long long long_by_string_map_get(const C_LongByStringMap* map, const char* key, long long default_value);
/* 1 if the key was present and is removed, else 0. */
int long_by_string_map_remove(C_LongByStringMap* map, const char* key);
int long_by_string_map_size(const C_LongByStringMap* map);
const char** long_by_string_map_get_keys(const C_LongByStringMap* map);
void long_by_string_map_clear(C_LongByStringMap* map);
/* Null is accepted. */
void long_by_string_map_free(C_LongByStringMap* map);

/* --- object_by_string_map: owned key strings to caller objects --- */

C_ObjectByStringMap* object_by_string_map_create(void);
/* A new key: inserts and returns 1. The same object already under the key: returns 0 and
 * changes nothing. Otherwise destroys the old object, stores the new one and returns 1. */
int object_by_string_map_put(C_ObjectByStringMap* map, const char* key, void* object, MY_ObjectDestroyFunc destroy);
/* The stored object or null. */
void* object_by_string_map_get(const C_ObjectByStringMap* map, const char* key);
int object_by_string_map_contains_key(const C_ObjectByStringMap* map, const char* key);
/* Destroys the object and removes the key: 1 if it was present, else 0. */
int object_by_string_map_remove(C_ObjectByStringMap* map, const char* key, MY_ObjectDestroyFunc destroy);
/* Calls keep(key, object, context) for every entry in key order and removes, destroying
 * its object, each entry for which it returns 0. Returns the number of removed entries. */
int object_by_string_map_filter(C_ObjectByStringMap* map, MY_ObjectKeepFunc keep, void* context,
                                MY_ObjectDestroyFunc destroy);
int object_by_string_map_size(const C_ObjectByStringMap* map);
const char** object_by_string_map_get_keys(const C_ObjectByStringMap* map);
/* Destroys every object and empties the map. */
void object_by_string_map_clear(C_ObjectByStringMap* map, MY_ObjectDestroyFunc destroy);
/* Destroys every object and frees the map; null is accepted. */
void object_by_string_map_free(C_ObjectByStringMap* map, MY_ObjectDestroyFunc destroy);

/* --- id_set: signed 64-bit identifiers --- */

C_IdSet* id_set_create(void);
/* 1 if the identifier was added, 0 if it was already present. */
int id_set_add(C_IdSet* set, long long id);
int id_set_contains(const C_IdSet* set, long long id);
/* 1 if the identifier was present and is removed, else 0. */
int id_set_remove(C_IdSet* set, long long id);
int id_set_size(const C_IdSet* set);
long long* id_set_get_all(const C_IdSet* set);
void id_set_clear(C_IdSet* set);
/* Null is accepted. */
void id_set_free(C_IdSet* set);

/* --- object_by_id_map: signed 64-bit identifiers to caller objects --- */

C_ObjectByIdMap* object_by_id_map_create(void);
/* The rule of object_by_string_map_put. */
int object_by_id_map_put(C_ObjectByIdMap* map, long long id, void* object, MY_ObjectDestroyFunc destroy);
void* object_by_id_map_get(const C_ObjectByIdMap* map, long long id);
int object_by_id_map_contains_key(const C_ObjectByIdMap* map, long long id);
/* Destroys the object and removes the identifier: 1 if it was present, else 0. */
int object_by_id_map_remove(C_ObjectByIdMap* map, long long id, MY_ObjectDestroyFunc destroy);
int object_by_id_map_size(const C_ObjectByIdMap* map);
long long* object_by_id_map_get_keys(const C_ObjectByIdMap* map);
/* Destroys every object and empties the map. */
void object_by_id_map_clear(C_ObjectByIdMap* map, MY_ObjectDestroyFunc destroy);
/* Destroys every object and frees the map; null is accepted. */
void object_by_id_map_free(C_ObjectByIdMap* map, MY_ObjectDestroyFunc destroy);

VONA_END_DECLS

#endif
