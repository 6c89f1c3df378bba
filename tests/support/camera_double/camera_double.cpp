// Exports of the camera and renderer doubles. docs/doubles.md lists the settings in PIXELFORGE_CAMERA.
#include "tests/support/camera_double/filter.h"

namespace pixelforge::test {
namespace {

constexpr CLSID kCameraClass = {0x6A9D2C1E, 0x3B57, 0x4C7A, {0x9E, 0x0F, 0x5D, 0x1B, 0x8A, 0x44, 0xC3, 0xF2}};
constexpr wchar_t kCameraText[] = L"{6A9D2C1E-3B57-4C7A-9E0F-5D1B8A44C3F2}";
constexpr wchar_t kDeviceKey[] =
    L"CLSID\\{860BB310-5D01-11D0-BD3B-00A0C911CE86}\\Instance\\{6A9D2C1E-3B57-4C7A-9E0F-5D1B8A44C3F2}";

void SetText(HKEY key, const wchar_t* name, const wchar_t* text) {
    RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                   static_cast<DWORD>((wcslen(text) + 1) * sizeof(wchar_t)));
}

/// Adds the camera to the system's device list, or removes it. The key is volatile: it lasts for the session.
void ListCamera() {
    RegDeleteKeyW(HKEY_CLASSES_ROOT, kDeviceKey);
    HKEY key = nullptr;
    if (CameraSettings().Is("device", "none") ||
        RegCreateKeyExW(HKEY_CLASSES_ROOT, kDeviceKey, 0, nullptr, REG_OPTION_VOLATILE, KEY_WRITE, nullptr,
                        &key, nullptr) != ERROR_SUCCESS) {
        return;
    }
    if (!CameraSettings().Is("device", "nameless")) {
        SetText(key, L"FriendlyName", L"Camera double");
    }
    SetText(key, L"CLSID", kCameraText);
    RegCloseKey(key);
}

}  // namespace
}  // namespace pixelforge::test

/// The module creates the renderer first, so the device list is up to date when it searches for a camera.
extern "C" HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID id, REFIID interfaceId, void** object) {
    using namespace pixelforge::test;
    *object = nullptr;
    if (id == kCameraClass) {
        return TransferReference(new Factory<MakeCamera>, interfaceId, object);
    }
    if (id != CLSID_VideoMixingRenderer) {
        return CLASS_E_CLASSNOTAVAILABLE;
    }
    ListCamera();
    return TransferReference(new Factory<MakeRenderer>, interfaceId, object);
}

extern "C" HRESULT STDAPICALLTYPE DllCanUnloadNow() {
    return S_FALSE;
}

/// Live COM objects.
extern "C" long CameraDoubleObjects() {
    return pixelforge::test::liveObjects;
}
