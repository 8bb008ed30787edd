/* Disk partitioning and drive sizes.
 *
 * Preparing a disk: storage_is_gpt_needed decides whether it gets a GUID partition table
 * (disks above 2,100,000,000,000 bytes do), storage_do_create_gpt_partitions writes one with
 * the partitioning program "/firmware_ext/parted/parted" and checks the result by reading the
 * program's printout, and storage_do_fdisk partitions the MBR way by feeding a script to
 * `fdisk`. Measuring: `df` gives the sizes of a mounted file system, `du` the size of a
 * directory tree, the kernel's block-device files ("/sys/block/NAME/size", in 512-byte
 * sectors) the size of a drive. Unmounting: storage_stop_usages_and_umount asks the firmware
 * script "/firmware/scripts/stop_mount_usages.sh" to stop the users of a busy mount point.
 *
 * Device and mount paths are put between apostrophes in shell command lines, so paths
 * containing an apostrophe are refused before any command runs; directory paths given to
 * `du` and `df` are escaped instead. The partitioning program, the block-device files of
 * the GPT decision and the stop script are fixed paths (below VONAUTIL_ROOT when it is set);
 * paths given by the caller are used as they are.
 *
 * Every call starts programs and waits for them: storage_do_create_gpt_partitions takes at
 * least two seconds (it gives the kernel a second after each change of the table). No
 * function keeps state; all may be called from any thread. Sizes are byte counts, -1 when
 * unknown. */
#ifndef VONAUTIL_STORAGE_UTILS_H
#define VONAUTIL_STORAGE_UTILS_H

#include "export.h"

VONA_BEGIN_DECLS

/* 1 when the disk needs a GUID partition table: the device path is exactly 8 characters long
 * ("/dev/sda"; a partition such as "/dev/sda1" is never a disk) and "/sys/block/sda/size"
 * gives more than 2,100,000,000,000 bytes. 0 otherwise, also when the size file is missing. */
int storage_is_gpt_needed(const char* device);

/* Prints the device's partition table with the partitioning program (logging
 * "[parted] running print..."; the program's output is echoed on standard output). 1 when
 * the table is an MBR ("msdos") one, and also for a GPT whose backup copy is corrupt while
 * the primary is intact (such a disk is one to repartition); 0 otherwise. */
int storage_has_msdos_partition_table(const char* device);

/* Creates the partitions of a disk (the caller's layout). */
typedef void (*storage_make_partitions_func)(const char* device);

/* Writes a new, empty GUID partition table on the device, checks that it is empty, calls
 * make_partitions(device), and checks that the table now has partitions, waiting one second
 * after each change. 1 on success; 0 for a device path with an apostrophe, a printout that
 * shows no GPT, or a table that is not empty after the new table or still empty after
 * make_partitions (each logged with "[parted] print cmd: ..."). */
int storage_do_create_gpt_partitions(const char* device, storage_make_partitions_func make_partitions);

/* Runs "fdisk -u 'DEVICE'" through the shell with `script` as its input. The script is used
 * as a printf format: write "%%" for a percent sign, and no other conversion. 1 when fdisk
 * exits with 0; 0 for a device path with an apostrophe, a failed start, a failed write or any
 * other exit status. */
int storage_do_fdisk(const char* device, const char* script);

/* Bytes used by the directory tree, from "du -s": its first number times 1024, computed in
 * 32 bits as the firmware always did, so trees of 2 GiB and more give wrong (even negative)
 * values. -1 when du prints nothing (a missing path). */
long long storage_get_dir_size(const char* path);

/* Total, used and available bytes of the file system that holds `path`, from "df"; each is
 * -1 when unknown (all three when df gives no entry). No pointer may be null. */
void storage_get_mounted_drive_info(const char* path, long long* total, long long* used, long long* available);
/* The total and the available bytes of storage_get_mounted_drive_info. */
long long storage_get_mounted_drive_size(const char* path);
long long storage_get_mounted_drive_free_bytes(const char* path);

/* The size of a block device in bytes: the number in "SYSFS_DIR/size" (512-byte sectors)
 * times 512, for the device's directory in the kernel's block-device tree, such as
 * "/sys/block/sda". -1 when the file cannot be read. */
long long storage_get_drive_size(const char* sysfs_dir);

/* Unmounts the mount point; when that fails, runs the stop script with the mount point (in
 * apostrophes) and the extra arguments (a null-terminated list, or null; each added after a
 * blank as it is, unquoted, so the shell splits and expands it) and tries once more. 1 when
 * unmounted, 0 otherwise; a mount point with an apostrophe gets no second try. */
int storage_stop_usages_and_umount(const char* mount_point, const char* const* extra_args);

VONA_END_DECLS

#endif
