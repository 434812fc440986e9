// Files of the platform: handles, streams, a buffered reader, directories and names. This is the one place that calls
// the operating system for a file.
//
// Names. The application keeps paths in clean form, lower case with "\" as separator. A path is turned into a real one
// at the moment of access: the text as given is tried first; then a drive such as "c:" is dropped, "\" becomes "/", and
// each component is matched exactly, or else without regard to case; one that is Latin-1 finds its UTF-8 name. A file
// to be created gets its directory resolved so and its last component as given, in UTF-8. Every call below that takes a
// path does this by itself.
//
// Offsets and sizes are 64-bit byte counts. A transfer goes on until it is complete, at the end of the file, or failed.
#pragma once

#include <cstddef>
#include <cstdint>

// Longest path with its terminator.
constexpr size_t FILES_PATH_SIZE = 4096;

// ---- names -----------------------------------------------------------------------------------------------------

// The real path of an existing file or directory. False when there is none, or `size` is too small.
bool files_resolve(const char* path, char* real, size_t size);

// The real path for a file that is to be created: see above. False when its directory does not exist.
bool files_resolve_new(const char* path, char* real, size_t size);

bool files_exists(const char* path);              // a file or directory of that name
bool files_is_directory(const char* path);        // a directory of that name
bool files_is_same(const char* a, const char* b); // both exist and are one file, whatever their names

// Size of a plain file in bytes, -1 when it can't be told.
int64_t files_size_of(const char* path);

// Time of the last change in nanoseconds, -1 when the file does not exist.
int64_t files_changed_at(const char* path);

// The working directory, as a real path. False when it can't be told or does not fit.
bool files_working_directory(char* path, size_t size);
bool files_change_directory(const char* path);

// What of a path in the application's form stands behind its last slash or backslash.
const char* files_last_name(const char* path);

// True for a path that begins with "\" or "/", or has ":" as its second character.
bool files_is_full(const char* path);

// Writes the path with `directory` in front of it, unless it is full. False when it does not fit.
bool files_join(const char* directory, const char* path, char* full, size_t size);

// Makes the path absolute against the working directory. False when it does not fit.
bool files_full_path(const char* path, char* full, size_t size);

// Makes a directory and those above it; true when it stands there afterwards.
bool files_make_directory(const char* path);

// Calls `each` for every entry of a directory but "." and "..", in no order, with its name as the system has it, until
// that gives false. A link counts as what it leads to. False when the directory can't be read, or `each` gave false.
bool files_list(const char* path, bool (*each)(void* user, const char* name, bool is_directory), void* user);

bool files_remove(const char* path);
bool files_rename(const char* from, const char* to); // replaces `to`

// The directory of the running program's file, without a trailing separator. False when it can't be told.
bool files_program_directory(char* path, size_t size);

// Why a file can't be opened for reading, in words that follow its name and a colon; null when it can. FIFOs and
// sockets are refused, and nothing is waited for.
const char* files_input_fault(const char* path);

// Why a file of that name could not be written, as a number of the system: what looking it up fails with, or 13 when
// it, or its directory, may not be written. 0: it could, or doesn't exist and could be made.
int files_write_fault(const char* path);

// The system's words for such a number.
const char* files_fault_text(int number);

// ---- replacing a file --------------------------------------------------------------------------------------------

// The one way to write a file of the user's. The new content is written under a name of its own in the target's
// directory, which nobody can foresee and which is made for it, with the target's permissions before it holds a byte.
// The commit brings the content to the disk before it takes the target's name, and the directory after that. Until
// then, after a failure, and after a signal that ends the process, the target stands as it was and the new content is
// gone. What a process that was killed has left is removed when the same target is written again.

// Writes the name for the new content of `target` into `fresh`. A second call takes another file into the same
// replacement. A link is followed: the file that it names is replaced. False when a name does not fit, the directory
// doesn't exist or can't be written, `target` exists and is no plain file or is under way already, or two files are.
bool files_replace_begin(const char* target, char* fresh, size_t size);

// The same for a file that must not exist yet: false when it does, and the commit fails when it does by then.
bool files_create_begin(const char* target, char* fresh, size_t size);

// Puts the new content in the place of `target`, which is old or new as a whole at every moment; two files in the order
// in which they were begun. False, with the targets as they were, when that fails.
bool files_replace_commit();

// Gives the replacement up and removes what was written.
void files_replace_abandon();

// All of it at once, for a file that is in memory; independent of a replacement that is under way.
bool files_replace_whole(const char* target, const void* bytes, size_t size);

// The system's words for the first failure of this thread to write, create or replace a file since a replacement was
// begun, as "No space left on device"; empty when there was none or the system gave no reason.
const char* files_write_failure();

// ---- handles -----------------------------------------------------------------------------------------------------

using os_file = intptr_t;
constexpr os_file OS_FILE_NONE = -1;

enum file_open_flags : unsigned {
    FILES_READ = 1,
    FILES_WRITE = 2,
    FILES_CREATE = 4,   // make the file when it is missing
    FILES_TRUNCATE = 8, // empty an existing file
};

// Whence words of a seek.
constexpr int FILES_FROM_START = 0;
constexpr int FILES_FROM_HERE = 1;
constexpr int FILES_FROM_END = 2;

// OS_FILE_NONE on failure. A directory can't be opened, nor, for reading, a FIFO or socket that has a name: nothing is
// waited for.
os_file files_open(const char* path, unsigned flags);

// The standard input as a handle that can seek. A pipe is copied to a nameless temporary file first.
os_file files_standard_input();

// True when this is the handle that files_standard_input() gave.
bool files_is_standard_input(os_file handle);

bool files_close(os_file handle);
int64_t files_read(os_file handle, void* buffer, size_t bytes);                           // bytes moved; -1 on error
int64_t files_write(os_file handle, const void* buffer, size_t bytes);                    // bytes moved; -1 on error
int64_t files_read_at(os_file handle, int64_t offset, void* buffer, size_t bytes);        // keeps the position
int64_t files_write_at(os_file handle, int64_t offset, const void* buffer, size_t bytes); // keeps the position
int64_t files_seek(os_file handle, int64_t offset, int whence); // the new position; -1 on failure
int64_t files_size(os_file handle);                             // -1 for what is no plain file
bool files_flush(os_file handle);

// True when stream 0, 1 or 2 (standard input, output, error) is a terminal.
bool files_is_terminal(int which);

// ---- buffered streams ----------------------------------------------------------------------------------------------

struct file_stream;

// Modes "rb", "wb", "w+b", "ab" and "r+b". Null on failure.
file_stream* stream_open(const char* path, const char* mode);
file_stream* stream_standard_output(); // never closed; stream_close() only flushes it
int stream_close(file_stream* stream); // 0 on success; a write that failed earlier or at the close gives -1
size_t stream_read(void* buffer, size_t size, size_t count, file_stream* stream);
size_t stream_write(const void* buffer, size_t size, size_t count, file_stream* stream);
int stream_getc(file_stream* stream);                             // the byte, or -1
int stream_putc(int byte, file_stream* stream);                   // the byte, or -1
int stream_seek(file_stream* stream, int64_t offset, int whence); // 0 on success
int64_t stream_tell(file_stream* stream);                         // -1 on failure
int stream_flush(file_stream* stream);                            // 0 on success

// ---- buffered reader ---------------------------------------------------------------------------------------------

// Reads a file from its start, byte by byte or in blocks. The hot call is reader_getc(), one compare and one load.
struct file_reader {
    os_file handle;
    uint8_t* buffer;     // owned
    const uint8_t* next; // next byte that is ready, in the buffer or in memory of the caller
    const uint8_t* end;  // one past the last byte that is ready
    int64_t size;        // bytes of the whole file when opened; -1 when it can't be told
    int64_t taken;       // bytes brought into the buffer so far
    bool failed;         // a read failed, which is not the end of the file
};

// Opens `path`. Null on failure, also when there is no memory.
file_reader* reader_open(const char* path);
void reader_close(file_reader* reader); // null does nothing

// Brings more bytes into the buffer. False at the end of the file or on failure.
bool reader_fill(file_reader* reader);

// Moves the bytes that are ready to `to`, and reads more behind them, up to `room` bytes in all (at least as many as
// are ready). They are handed out from there. Returns how many are ready.
size_t reader_fill_at(file_reader* reader, uint8_t* to, size_t room);

// Moves up to `bytes` bytes; returns how many.
size_t reader_read(file_reader* reader, void* out, size_t bytes);

// Bytes of the file that have not been handed out yet, INT64_MAX when its size can't be told.
int64_t reader_left(const file_reader* reader);

// The next byte, or -1 at the end.
inline int reader_getc(file_reader* reader) {
    if (reader->next == reader->end && !reader_fill(reader)) return -1;
    return *reader->next++;
}

// The whole of a file as an owned block (mem_free()) with a zero byte behind it that `size` does not count. Null when
// it can't be read, is larger than `limit` bytes, or there is no memory.
char* files_load(const char* path, size_t limit, size_t* size);

// ---- planned failures, for tests -----------------------------------------------------------------------------------

// `once` and `onward` move half of the bytes asked for, at that transfer or at all from it on; `nothing` moves none
// from it on, which to a reader is the end of the file.
enum class files_fail { once, onward, nothing };

// Lets `count` more reads and writes through and makes the next one come back short by a byte or more.
void files_fail_after(long count, files_fail how);

// Takes the plan back. Returns whether a transfer was cut by it.
bool files_fail_stop();
