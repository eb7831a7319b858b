// What the libraries and the kernel charge for the steps every short-lived command takes, without
// Tallymo or Qt around them: the floors under `tallymo sample` and `tallymo history`. Prints the
// CPU time of the step alone (user and system, in milliseconds), the first time in a process, as a
// command pays it; the process's own start is left out, so runs can be compared.
//   tallymo_floor store FILE             SQLite's first connection to a store, as the store opens it
//   tallymo_floor settings FILE          the settings file written again as every sample writes it
//   tallymo_floor dates LOCALE           ICU's month formatter, and 120 months formatted with it
#include <fcntl.h>
#include <sqlite3.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unicode/udat.h>
#include <unicode/ustring.h>
#include <unistd.h>

static int store(const char *path)
{
    sqlite3 *db = nullptr;
    if (sqlite3_open_v2(path, &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_NOFOLLOW,
                        nullptr) != SQLITE_OK) {
        fprintf(stderr, "tallymo_floor: cannot open %s: %s\n", path, sqlite3_errmsg(db));
        return 1;
    }
    int persist = 1;
    sqlite3_file_control(db, "main", SQLITE_FCNTL_PERSIST_WAL, &persist);
    const char *statements[] = {"PRAGMA user_version",         "PRAGMA journal_mode=WAL",
                                "PRAGMA synchronous=FULL",     "PRAGMA journal_size_limit=4194304",
                                "PRAGMA mmap_size=1073741824", "SELECT count(*) FROM sqlite_schema"};
    for (size_t i = 0; i < sizeof statements / sizeof *statements; ++i) {
        sqlite3_stmt *s = nullptr;
        if (sqlite3_prepare_v2(db, statements[i], -1, &s, nullptr) != SQLITE_OK) {
            fprintf(stderr, "tallymo_floor: %s: %s\n", statements[i], sqlite3_errmsg(db));
            sqlite3_close(db);
            return 1;
        }
        while (sqlite3_step(s) == SQLITE_ROW) {
        }
        sqlite3_finalize(s);
    }
    sqlite3_close(db);
    return 0;
}

// Written to a new file beside it, synced, renamed over it, and the folder synced.
static int settings(const char *path)
{
    static char data[1 << 20];
    const int in = open(path, O_RDONLY | O_CLOEXEC);
    const ssize_t size = in < 0 ? -1 : read(in, data, sizeof data);
    if (in >= 0)
        close(in);
    if (size < 0) {
        fprintf(stderr, "tallymo_floor: cannot read %s\n", path);
        return 1;
    }
    char temp[4096], folder[4096];
    snprintf(temp, sizeof temp, "%s.floor-%d", path, int(getpid()));
    snprintf(folder, sizeof folder, "%s", path);
    char *slash = strrchr(folder, '/');
    if (slash)
        *slash = '\0';
    else
        strcpy(folder, ".");
    const int fd = open(temp, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (fd < 0 || write(fd, data, size_t(size)) != size || fsync(fd) != 0 || close(fd) != 0 ||
        rename(temp, path) != 0) {
        fprintf(stderr, "tallymo_floor: cannot write %s\n", path);
        unlink(temp);
        return 1;
    }
    const int dir = open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
        fsync(dir);
        close(dir);
    }
    return 0;
}

static int dates(const char *locale)
{
    UErrorCode status = U_ZERO_ERROR;
    UChar zone[4], pattern[4], text[64];
    u_uastrcpy(zone, "UTC");
    u_uastrcpy(pattern, "MMM");
    UDateFormat *format = udat_open(UDAT_PATTERN, UDAT_PATTERN, locale, zone, 3, pattern, 3, &status);
    for (int month = 0; month < 120 && U_SUCCESS(status); ++month)
        udat_format(format, 1.6e12 + month * 2.63e9, text, 64, nullptr, &status);
    udat_close(format);
    if (U_FAILURE(status)) {
        fprintf(stderr, "tallymo_floor: no month formatter for %s: %s\n", locale, u_errorName(status));
        return 1;
    }
    return 0;
}

static double cpuMilliseconds()
{
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e3 + double(t.tv_nsec) / 1e6;
}

int main(int argc, char **argv)
{
    int (*step)(const char *) = nullptr;
    if (argc == 3 && strcmp(argv[1], "store") == 0)
        step = store;
    else if (argc == 3 && strcmp(argv[1], "settings") == 0)
        step = settings;
    else if (argc == 3 && strcmp(argv[1], "dates") == 0)
        step = dates;
    if (!step) {
        fprintf(stderr, "usage: tallymo_floor store FILE | settings FILE | dates LOCALE\n");
        return 2;
    }
    const double start = cpuMilliseconds();
    const int status = step(argv[2]);
    printf("%.3f\n", cpuMilliseconds() - start);
    return status;
}
