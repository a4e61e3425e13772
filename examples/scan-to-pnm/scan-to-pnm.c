/*
 * Scans a page with the Quenvar Q750 and writes it as a PNM picture. Loads the library as a plug-in and
 * uses only the functions of ScannerInterface.h.
 *
 *   scan-to-pnm PICTURE [RESOLUTION [color|gray]]
 *
 * Exit codes: 0 success, 1 usage error, 2 no scanner, 3 no library, 4 no picture from the scanner, 5 write
 * error.
 */
#include <dlfcn.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "ScannerInterface.h"

enum { done = 0, wrongUsage = 1, noScanner = 2, noLibrary = 3, noPicture = 4, notWritten = 5 };

/* The functions of the library, by their own names. */
struct Library {
  intptr_t (*EnableScanner)(void);
  int32_t (*SetScanParameter)(intptr_t, int32_t, int32_t, int32_t, double, double, double, double);
  int32_t (*GetScanParameter)(intptr_t, unsigned long*, unsigned long*);
  int32_t (*StartScan)(intptr_t);
  int32_t (*ReadImage)(intptr_t, unsigned char*, uint32_t, uint32_t*);
  int32_t (*DisableScanner)(intptr_t);
};

struct Settings {
  int32_t resolution; /* dots per inch */
  int color;
};

struct Picture {
  unsigned long width; /* pixels */
  unsigned long height;
  size_t rowBytes;
  unsigned char* rows; /* from malloc */
};

static int lookUp(void* plugIn, const char* name, void* function) {
  void* const address = dlsym(plugIn, name);
  if (address == NULL) {
    fprintf(stderr, "scan-to-pnm: %s\n", dlerror());
    return 0;
  }
  /* C cannot convert an object pointer to a function pointer; POSIX guarantees the same representation. */
  memcpy(function, &address, sizeof address);
  return 1;
}

/* The comparison is never evaluated: it makes the compiler check the type in Library against the header. */
#define LOOK_UP(name) ((void)sizeof(library->name == (name)), lookUp(plugIn, #name, &library->name))

static int loadLibrary(struct Library* library) {
  void* const plugIn = dlopen("libquenvar-q750.so.1", RTLD_NOW | RTLD_LOCAL);
  if (plugIn == NULL) {
    fprintf(stderr, "scan-to-pnm: %s\n", dlerror());
    return 0;
  }
  return LOOK_UP(EnableScanner) && LOOK_UP(SetScanParameter) && LOOK_UP(GetScanParameter) &&
         LOOK_UP(StartScan) && LOOK_UP(ReadImage) && LOOK_UP(DisableScanner);
}

/* The library logs to standard error, every byte of the picture included: too much for a terminal. */
static int32_t startScanQuietly(const struct Library* library, intptr_t scanner) {
  const int errors = dup(STDERR_FILENO);
  const int nowhere = open("/dev/null", O_WRONLY);
  int32_t result;
  dup2(nowhere, STDERR_FILENO);
  result = library->StartScan(scanner);
  dup2(errors, STDERR_FILENO);
  close(nowhere);
  close(errors);
  return result;
}

/*
 * Only its size marks the end of the picture. Rows that were never received count as delivered without being
 * written, so the buffer has to start with the value that they should have.
 */
static int readRows(const struct Library* library, intptr_t scanner, struct Picture* picture) {
  const size_t size = picture->rowBytes * picture->height;
  size_t got = 0;
  while (got < size) {
    const size_t atMost = 64 * picture->rowBytes; /* whole rows are delivered, so one has to fit */
    const uint32_t room = (uint32_t)(size - got < atMost ? size - got : atMost);
    uint32_t delivered = 0;
    library->ReadImage(scanner, picture->rows + got, room, &delivered);
    if (delivered == 0 || delivered > room) return 0; /* not the picture that was requested */
    got += delivered;
  }
  /* Rows have a lead of one: the page's first row is skipped, and nothing was received for the last. */
  picture->height -= 1;
  return 1;
}

static int fetchPicture(const struct Library* library, intptr_t scanner, struct Picture* picture) {
  const int32_t result = startScanQuietly(library, scanner);
  if ((uint32_t)result == 0xE00002C0u) {
    fprintf(stderr, "scan-to-pnm: no scanner was found, or it was unplugged\n");
    return noScanner;
  }
  picture->rows = calloc(picture->height, picture->rowBytes);
  if (result != 0 || picture->rows == NULL) {
    fprintf(stderr, "scan-to-pnm: the picture could not be converted or kept in memory\n");
    return noPicture;
  }
  if (!readRows(library, scanner, picture)) {
    fprintf(stderr, "scan-to-pnm: the scanner sent something else than the picture\n");
    return noPicture;
  }
  return done;
}

static int scanPage(const struct Library* library, struct Settings settings, struct Picture* picture) {
  const intptr_t scanner = library->EnableScanner(); /* never 0: StartScan reports a missing scanner */
  const int32_t mode = settings.color ? 0 : 2;
  int outcome;
  library->SetScanParameter(scanner, settings.resolution, settings.resolution, mode, 0.0, 0.0, 8.5, 11.69);
  library->GetScanParameter(scanner, &picture->width, &picture->height);
  picture->rowBytes = picture->width * (settings.color ? 3 : 1);
  outcome = fetchPicture(library, scanner, picture);
  library->DisableScanner(scanner);
  return outcome;
}

static int writePnm(const char* path, const struct Picture* picture) {
  const int color = picture->rowBytes > picture->width;
  FILE* const file = fopen(path, "wb");
  if (file != NULL) {
    int good = fprintf(file, "P%d\n%lu %lu\n255\n", color ? 6 : 5, picture->width, picture->height) > 0;
    good = good && fwrite(picture->rows, picture->rowBytes, picture->height, file) == picture->height;
    if (fclose(file) == 0 && good) return done;
  }
  perror(path);
  return notWritten;
}

/* The scanner sends nothing for a job that it does not support, and the library would wait without limit. */
static int readSettings(int count, char** arguments, struct Settings* settings) {
  const char* const resolution = count > 2 ? arguments[2] : "300";
  const char* const mode = count > 3 ? arguments[3] : "color";
  const char* const known[] = {"75", "150", "200", "300", "400", "600"};
  size_t index = 0;
  while (index < 6 && strcmp(resolution, known[index]) != 0) ++index;
  settings->resolution = (int32_t)strtol(resolution, NULL, 10);
  settings->color = strcmp(mode, "color") == 0;
  if (count < 2 || count > 4 || index == 6 || (!settings->color && strcmp(mode, "gray") != 0)) {
    fprintf(stderr, "usage: scan-to-pnm PICTURE [75|150|200|300|400|600 [color|gray]]\n");
    return 0;
  }
  if (settings->color && settings->resolution > 300) {
    fprintf(stderr, "scan-to-pnm: colour comes with at most 300 dots per inch\n");
    return 0;
  }
  return 1;
}

int main(int count, char** arguments) {
  struct Library library = {0};
  struct Settings settings;
  struct Picture picture = {0, 0, 0, NULL};
  int outcome;
  if (!readSettings(count, arguments, &settings)) return wrongUsage;
  if (!loadLibrary(&library)) return noLibrary;
  outcome = scanPage(&library, settings, &picture);
  if (outcome == done) outcome = writePnm(arguments[1], &picture);
  free(picture.rows);
  return outcome;
}
