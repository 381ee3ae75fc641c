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

namespace {

using Kit::Complain;
using NorvoWebAPI::KSV::kMimeType;

/// Past the window's own time-out, for the clean end that it tries first.
constexpr unsigned kGraceSeconds = 5;

int Fail(const QString& sentence, int status = Kit::kExitNoAnswer) {
  Complain(sentence);
  return status;
}

/// Gives an empty text when the module can be loaded and answers for the media type, else what is wrong.
QString CheckModule(const QString& module) {
  void* handle = dlopen(QFile::encodeName(module).constData(), RTLD_LAZY | RTLD_LOCAL);
  if (!handle) return QString("The plug-in can't be loaded: %1. Build it, or name it with --module.").arg(dlerror());
  const auto describe = reinterpret_cast<const char* (*)()>(dlsym(handle, "NP_GetMIMEDescription"));
  const char* description = describe ? describe() : nullptr;
  const bool answers = description && std::strstr(description, kMimeType);
  // It stays loaded, though the engine will load and unload it once more to ask the same: what the module keeps until
  // the process ends would be lost with each unloading.
  if (answers) return {};
  return QString("%1 is no plug-in for %2. Name the right module with --module.").arg(module, kMimeType);
}

/// Puts the module, behind its front, into a folder for itself, as the engine looks at every file that lies beside it.
/// Gives an empty text, or what is wrong.
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

/// Opens the file of that name, "-" as standard output. Gives an empty text, or what is wrong.
QString OpenTranscript(QFile& file) {
  const bool opened = file.fileName() == "-" ? file.open(stdout, QIODevice::WriteOnly)
                                             : file.open(QIODevice::WriteOnly | QIODevice::Truncate);
  if (opened) return {};
  return QString("The transcript %1 can't be written: %2. Check its folder.").arg(file.fileName(), file.errorString());
}

/// Qt ends the process by abort when no display answers; that is an ordinary failure of this program.
void HandleQtMessage(QtMsgType type, const QMessageLogContext&, const QString& message) {
  if (type == QtDebugMsg || type == QtInfoMsg) return;
  Complain(message);
  if (type != QtFatalMsg) return;
  Complain("No window can be opened. Set DISPLAY to a running X server, or start the program under xvfb-run -a.");
  std::_Exit(Kit::kExitNoAnswer);
}

/// The window's own time-out needs the event loop; this one ends a page or a plug-in that never returns to it.
void EndHangingProcess(int) {
  constexpr char kSentence[] = "ksv-browser: The page's script or the plug-in hangs: it has not returned in time.\n";
  // The status tells the same when the text can't be written.
  if (write(STDERR_FILENO, kSentence, sizeof kSentence - 1) < 0) _exit(Kit::kExitNoAnswer);
  _exit(Kit::kExitNoAnswer);
}

}  // namespace

int main(int argc, char** argv) {
  QStringList arguments;
  for (int i = 0; i < argc; ++i) arguments << QFile::decodeName(argv[i]);
  Kit::Options options;
  bool helpWanted = false;
  const QString mistake = Kit::ParseOptions(arguments, options, helpWanted);
  if (!mistake.isEmpty()) return Fail(mistake + " See ksv-browser --help.", Kit::kExitUsage);
  if (helpWanted) return std::fputs(Kit::HelpText(), stdout) < 0 ? Kit::kExitUsage : 0;

  QString fault = CheckModule(options.module);
  if (!fault.isEmpty()) return Fail(fault);
  if (qEnvironmentVariableIsEmpty("DISPLAY")) {
    return Fail("There is no display. Set DISPLAY, or start the program under xvfb-run -a.");
  }

  const QTemporaryDir pluginFolder;
  fault = PreparePluginFolder(pluginFolder, options.module);
  if (!fault.isEmpty()) return Fail(fault);
  qputenv("QT_QPA_PLATFORM", "xcb");  // the engine's plug-ins are X11 programs
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
