/* Integrity checks of broadcast table sections (PAT, PMT, service tables) carried in 188-byte
 * transport stream packets: the section CRC, locating a section at the start of a packet,
 * comparing two sections for a change of content, and the difference of two presentation
 * time stamps across the wrap of the 33-bit clock. Nothing here keeps state.
 *
 * Section layout: byte 0 table id; bit 7 of byte 1 the section syntax indicator; the low
 * 4 bits of byte 1 and byte 2 the 12-bit section length L; the section occupies L + 3 bytes,
 * the last 4 of which are its CRC, most significant byte first. */
#ifndef VONAUTIL_MPEG_UTILS_H
#define VONAUTIL_MPEG_UTILS_H

#include "mt/export.h"

VONA_BEGIN_DECLS

/* Size of a transport stream packet and its sync byte 'G'. */
#define MPEG_TS_PACKET_SIZE 188
#define MPEG_TS_SYNC_BYTE 0x47

/* CRC-32 of the MPEG-2 systems layer (polynomial 0x04C11DB7, initial value 0xFFFFFFFF, bits
 * not reflected, no final inversion) of `length` bytes; 0xFFFFFFFF when length is 0 or less. */
unsigned int mpeg_utils_calculate_crc_32(const unsigned char* data, int length);

/* The 12-bit section length L (the section occupies L + 3 bytes). */
int mpeg_utils_get_section_length(const unsigned char* section);

/* The table id (byte 0) when `available` is positive, else 0xFFFFFFFF. */
unsigned int mpeg_utils_get_section_table_id(const unsigned char* section, int available);

/* 1 when the section in the `available` bytes at `section` is complete and intact, else 0.
 * Checked in this order: at least 3 bytes; the whole section of L + 3 bytes; the table id
 * (unless `table_id` is -1, which accepts any table); the syntax indicator when
 * `require_syntax` is non-zero; the stored CRC against the CRC of the first L - 1 bytes. */
int mpeg_utils_verify_extracted_section(const unsigned char* section, int table_id, int available,
                                        int require_syntax);

/* The address of the section that starts in the 188-byte `packet` when it passes the checks,
 * else null. The packet must begin with the sync byte and have its payload unit start
 * indicator set; a packet with an adaptation field only fails. The pointer field must be 0
 * (the section starts right after it), and the section must fit in the rest of the packet,
 * carry the syntax indicator, match `table_id` (-1 for any) and pass its CRC. */
const unsigned char* mpeg_utils_verify_section(const unsigned char* packet, int table_id);

/* 1 when the packet starts an intact program map section (table id 2), else 0. */
int mpeg_utils_verify_pmt(const unsigned char* packet);

/* 1 when two sections carry the same content, else 0: their first 3 bytes (table id and
 * length) are equal, for program map sections also bytes 3 and 4 (the program number), and the
 * bytes from offset 6 up to the CRC. Byte 5 (version, current/next) and the CRC are not
 * compared, so a new version of unchanged content counts as equal. Both are whole sections of
 * at least 5 bytes. */
int mpeg_utils_are_sections_equal(const unsigned char* a, const unsigned char* b);

/* The difference a - b of two millisecond time stamps taken from the 33-bit 90 kHz clock,
 * whose wrap is 95443717 ms: when a wrapped recently (a - b + 95443717 lies in
 * [-window, window)), the wrap is added back; when b wrapped recently (a - b - 95443716 lies in
 * (-window, window]), a wrap is taken off, computed on the low 32 bits of the difference.
 * Otherwise the plain difference. */
long long mpeg_utils_get_difference_pts_ms(unsigned int a, unsigned int b, int window);

VONA_END_DECLS

#endif
