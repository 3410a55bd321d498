#pragma once

#include <QString>

namespace qormin::platform {

class FileSystemService;
class MessageBoxService;
class PathMapper;
class SettingsStore;
class ShellService;

// The services a main window works with; whoever creates the window owns them and keeps them
// alive longer than the window.
struct PlatformServices {
    SettingsStore* settings = nullptr;
    PathMapper* paths = nullptr;
    FileSystemService* files = nullptr;
    ShellService* shell = nullptr;
    MessageBoxService* messageBoxes = nullptr;
    QString dataDirectory;
};

} // namespace qormin::platform
