#include "xmlModuleLoad.h"

#include <dlfcn.h>
#include <unistd.h>

#include <string>

#include "log.h"

namespace {
// Where the module may be: beside the program (a build folder), or in the
// library folder of the package that installed the program.
std::string programDir() {
  char buf[4096];
  ssize_t n = readlink("/proc/self/exe", buf, sizeof buf - 1);
  if (n <= 0) return ".";
  std::string path(buf, static_cast<size_t>(n));
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

const S_XML_MODULE* open(const char* fn) {
  std::string dir = programDir();
  const std::string tried[] = {dir + "/" + XML_MODULE_FILE, dir + "/../lib/diag/" + XML_MODULE_FILE,
                               dir + "/../lib/diag-sim/" + XML_MODULE_FILE};
  std::string why;
  for (const std::string& path : tried) {
    if (access(path.c_str(), F_OK) != 0) continue;
    void* h = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!h) {
      const char* e = dlerror();
      why = e ? e : "unknown reason";
      break;
    }
    auto get = reinterpret_cast<const S_XML_MODULE* (*)()>(dlsym(h, XML_MODULE_SYMBOL));
    const S_XML_MODULE* m = get ? get() : nullptr;
    if (m && m->abi == XML_MODULE_ABI) return m;
    why = path + " is not this program's module (another build)";
    dlclose(h);
    break;
  }
  if (why.empty()) why = "not found in " + dir + " nor in " + dir + "/../lib/diag";
  LOGERR_FN(LOG_TERM, fn, "cannot open %s, which this command needs (zlib, libxml2, libconfig++): %s\n",
            XML_MODULE_FILE, why.c_str());
  return nullptr;
}

void toLog(void* ctx, bool err, const char* text) {
  auto* s = static_cast<LogSink*>(ctx);
  if (err)
    LOGERR_FN(LOG_TERM, s->fn, "%s%s\n", s->prefix, text);
  else
    logText(LOG_TERM, std::string(text) + "\n");  // a value of the file: whole, however long
}
}  // namespace

LogSink::LogSink(const char* fn, const char* prefix) : S_TEXT_SINK{this, toLog}, fn(fn), prefix(prefix) {}

const S_XML_MODULE* xmlModule(const char* fn) {
  static const S_XML_MODULE* m = nullptr;
  if (!m) m = open(fn);
  return m;
}
