// C++ side of the disk utilities: the readers of the programs' printouts, for the tool, the
// tests and the fuzz targets.
#ifndef VONAUTIL_STORAGE_UTILS_HPP
#define VONAUTIL_STORAGE_UTILS_HPP

#include <string>

#include "player/src/util/mt/storage_utils.h"

namespace vona {

// States of a partition table, read from the partitioning program's printout.
enum { kPartitionTableInvalid = -1, kPartitionTableEmpty = 0, kPartitionTableHasPartitions = 1 };

// Runs the print command of the partitioning program on the device, logging
// "[parted] running print...", and returns what it printed (standard output and error; also
// echoed on standard output).
std::string storage_print_partition_table(const char* device);

// The state of a GUID partition table in a printout: invalid without "Partition Table: gpt"
// and the partition list header after it ("Number", then "Start"); otherwise it has
// partitions when a digit follows the header's line.
int storage_partition_table_state(const char* printout);

// Whether a printout shows a disk to treat as MBR-partitioned (see
// storage_has_msdos_partition_table).
bool storage_printout_is_msdos(const char* printout);

// A size of a df entry in bytes: "1.5G" (times 2^30), "512M" (times 2^20), otherwise an
// integer count of 1024-byte blocks. Fractions are truncated towards zero; a number too large
// for a byte count gives -1.
long long storage_df_size_to_bytes(const char* text);

// Reads df's printout of one path: the entry in the line after the header, joined with the
// next line (df wraps an entry whose file-system name is long), as name, total, used and
// available. Each output is -1 when the entry is missing or has fewer fields.
void storage_read_df_output(const char* text, long long* total, long long* used, long long* available);

}  // namespace vona

#endif
