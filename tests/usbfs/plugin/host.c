/* A host that knows the plug-in by its file: scans part of the bed and writes what ReadImage gives to a file.
   host LIBRARY RESULT ROW-BYTES ROWS */
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

typedef intptr_t (*Enable)(void);
typedef int (*Disable)(intptr_t);
typedef int (*SetParameter)(intptr_t, int, int, int, unsigned, unsigned, unsigned, unsigned);
typedef int (*Start)(intptr_t);
typedef int (*Read)(intptr_t, unsigned char*, uint32_t, uint32_t*);

static void* function(void* library, const char* name) {
  void* found = dlsym(library, name);
  if (found == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    exit(2);
  }
  return found;
}

int main(int count, char** arguments) {
  if (count != 5) return 2;
  void* library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  if (library == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    return 2;
  }
  const intptr_t scanner = ((Enable)function(library, "EnableScanner"))();
  if (scanner == 0) return 3;
  ((SetParameter)function(library, "SetScanParameterEx"))(scanner, 75, 75, 0, 333, 777, 4001, 5005);
  const int status = ((Start)function(library, "StartScan"))(scanner);
  if (status != 0) return 4;
  FILE* result = fopen(arguments[2], "wb");
  uint32_t left = (uint32_t)(atoi(arguments[3]) * atoi(arguments[4]));
  unsigned char* bytes = malloc(left);
  while (left > 0) {
    uint32_t delivered = 0;
    if (((Read)function(library, "ReadImage"))(scanner, bytes, left, &delivered) != 0 || delivered == 0)
      return 5;
    fwrite(bytes, 1, delivered, result);
    left -= delivered;
  }
  free(bytes);
  fclose(result);
  ((Disable)function(library, "DisableScanner"))(scanner);
  return dlclose(library);
}
