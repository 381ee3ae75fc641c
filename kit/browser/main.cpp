// ksv-browser: opens a page with the plug-in module in it. See --help.

#include <dlfcn.h>
#include <unistd.h>

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/product.h"
#include "kit/browser/browser_window.h"
#include "kit/browser/options.h"
#include "kit/browser/plugin_windows.h"
#include "kit/program/command_line.h"

namespace {

using Kit::Complain;
using NorvoWebAPI::KSV::kMimeType;

/// After the window's own time-out, so that it can end in order first.
constexpr unsigned kGraceSeconds = 5;

int Fail(const QString& sentence) {
  Complain(sentence);
  return Kit::kExitNoAnswer;
}

/// Returns an empty text when the module can be loaded and supports the media type, else what is wrong.
QString CheckModule(const QString& module) {
  void* handle = dlopen(QFile::encodeName(module).constData(), RTLD_LAZY | RTLD_LOCAL);
  if (!handle) return QString("The plug-in can't be loaded: %1. Build it, or name it with --module.").arg(dlerror());
  const auto describe = reinterpret_cast<const char* (*)()>(dlsym(handle, "NP_GetMIMEDescription"));
  const char* description = describe ? describe() : nullptr;
  const bool answers = description && std::strstr(description, kMimeType);
  // The module stays loaded, because the engine loads it again, and each unloading would leak what the module keeps
  // until the process ends.
  if (answers) return {};
  return QString("%1 is no plug-in for %2. Name the right module with --module.").arg(module, kMimeType);
}

/// Links the front module, which loads the module, into a folder of its own, because the engine loads every file beside
/// it. Returns an empty text, or what is wrong.
QString PreparePluginFolder(const QTemporaryDir& folder, const QString& module) {
  const QString front = QFileInfo("/proc/self/exe").symLinkTarget().section('/', 0, -2) + "/ksv-browser-module.so";
  if (!folder.isValid() || !QFile::link(front, folder.filePath("npNorvoWebAPIKSV.so"))) {
    return "No temporary folder can be made for the plug-in: " + folder.errorString() + ". Check TMPDIR.";
  }
  const QByteArray path = QFile::encodeName(folder.path());
  qputenv("KSV_BROWSER_MODULE", QFile::encodeName(module));
  qputenv("QTWEBKIT_PLUGIN_PATH", path);
  if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR")) qputenv("XDG_RUNTIME_DIR", path);
  return {};
}

/// Opens the file, or standard output for "-". Returns an empty text, or what is wrong.
QString OpenTranscript(QFile& file) {
  const bool opened = file.fileName() == "-" ? file.open(stdout, QIODevice::WriteOnly)
                                             : file.open(QIODevice::WriteOnly | QIODevice::Truncate);
  if (opened) return {};
  return QString("The transcript %1 can't be written: %2. Check its folder.").arg(file.fileName(), file.errorString());
}

/// Qt aborts the process when it can't connect to the display; this program exits with a status instead.
void HandleQtMessage(QtMsgType type, const QMessageLogContext&, const QString& message) {
  if (type == QtDebugMsg || type == QtInfoMsg) return;
  Complain(message);
  if (type != QtFatalMsg) return;
  Complain("No window can be opened. Set DISPLAY to a running X server, or start the program under xvfb-run -a.");
  std::_Exit(Kit::kExitNoAnswer);
}

/// For a page or a plug-in that never returns to the event loop, where the window's time-out can't fire.
void EndHangingProcess(int) {
  constexpr char kSentence[] = "ksv-browser: The page's script or the plug-in hangs: it has not returned in time.\n";
  // The status is the same when the text can't be written.
  if (write(STDERR_FILENO, kSentence, sizeof kSentence - 1) < 0) _exit(Kit::kExitNoAnswer);
  _exit(Kit::kExitNoAnswer);
}

}  // namespace

int main(int argc, char** argv) {
  Kit::BrowserOptions options;
  const std::vector<std::string> arguments = Kit::CommandLine(argc, argv);
  if (const auto end = Kit::ReadBrowserOptions(arguments, options)) return *end;
  const QString module = QFile::decodeName(options.module.c_str());

  QString fault = CheckModule(module);
  if (!fault.isEmpty()) return Fail(fault);
  if (qEnvironmentVariableIsEmpty("DISPLAY")) {
    return Fail("There is no display. Set DISPLAY, or start the program under xvfb-run -a.");
  }

  const QTemporaryDir pluginFolder;
  fault = PreparePluginFolder(pluginFolder, module);
  if (!fault.isEmpty()) return Fail(fault);
  qputenv("QT_QPA_PLATFORM", "xcb");  // The engine's plug-ins need X11.
  qInstallMessageHandler(HandleQtMessage);

  QFile transcriptFile(options.transcript);
  fault = OpenTranscript(transcriptFile);
  if (!fault.isEmpty()) return Fail(fault);
  QTextStream transcript(&transcriptFile);
  transcript.setCodec("UTF-8");

  QApplication application(argc, argv);
  Kit::PluginWindows pluginWindows;
  Kit::BrowserWindow window(options, transcript);
  if (!options.stay) {
    std::signal(SIGALRM, EndHangingProcess);
    alarm(static_cast<unsigned>(options.timeoutSeconds) + kGraceSeconds);
  }
  window.Open();
  QApplication::exec();
  return window.Status();
}
