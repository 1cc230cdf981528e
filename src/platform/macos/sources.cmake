# The Mac's own folder. The Qt classes (what runs which program, the update swap) build everywhere,
# so that the tests drive them with stand-in programs; the plain-C++ files in api/ call Apple's C
# APIs and build only on a Mac (CI type-checks them elsewhere with macos-api/check.sh; the one
# Objective-C++ file, NSWorkspace's look-up for macOS 12 and newer, is checked on a Mac only).
set(macos_qt_sources
    macos/MacBundleUpdater.cpp macos/MacBundleUpdater.h
    macos/MacDistributedNotifications.cpp macos/MacDistributedNotifications.h
    macos/MacPrivilegedExecution.cpp macos/MacPrivilegedExecution.h
    macos/MacProgramRunner.cpp macos/MacProgramRunner.h
    macos/MacRichTextConverter.cpp macos/MacRichTextConverter.h
    macos/MacSystemInfo.cpp macos/MacSystemInfo.h
    macos/MacUserDefaults.cpp macos/MacUserDefaults.h
    macos/MacWorkspace.cpp macos/MacWorkspace.h)
set(macos_api_sources
    macos/api/MacAuthorization.cpp macos/api/MacAuthorization.h
    macos/api/MacDistributedCenter.cpp macos/api/MacDistributedCenter.h
    macos/api/MacHardware.cpp macos/api/MacHardware.h
    macos/api/MacLaunchServices.cpp macos/api/MacLaunchServices.h macos/api/MacLaunchServices.mm
    macos/api/MacUnifiedLog.cpp macos/api/MacUnifiedLog.h)
