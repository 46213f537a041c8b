#include "outFile.h"

#include <cerrno>
#include <cstring>

#include "log.h"

OutFile::~OutFile() {
  if (f) fclose(f);
}

E_STATUS OutFile::fail(const char* what, int err, const Where& where) {
  if (!failed)
    log(LOG_TERM, "file %s, line %d, function %s - unable to %s file %s: %s (%d)\n", srcName(where.file_name()),
        static_cast<int>(where.line()), fnName(where.function_name()).c_str(), what, path.c_str(),
        strerror(err), err);
  failed = true;
  return FAILURE;
}

E_STATUS OutFile::open(const std::string& name, const char* mode, Where where) {
  path = name;
  failed = false;
  f = fopen(name.c_str(), mode);
  return f ? SUCCESS : fail("open", errno, where);
}

E_STATUS OutFile::check(Where where) {
  if (f) {
    errno = EIO;  // a stream that failed earlier keeps no errno of its own
    if (fflush(f) != 0 || ferror(f)) return fail("write", errno, where);
  }
  return failed ? FAILURE : SUCCESS;
}

E_STATUS OutFile::close(Where where) {
  E_STATUS st = check(where);
  if (!f) return st;
  FILE* was = f;
  f = nullptr;
  if (fclose(was) != 0 && st == SUCCESS) return fail("write", errno, where);
  return st;
}
