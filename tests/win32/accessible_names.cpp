#include "tests/win32/accessible_names.h"

#include <oleacc.h>

namespace ketra::probe {
namespace {

std::string Utf8(const wchar_t* text, int length) {
  if (text == nullptr || length <= 0) return "";
  const int size = WideCharToMultiByte(CP_UTF8, 0, text, length, nullptr, 0, nullptr, nullptr);
  std::string out(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, length, out.data(), size, nullptr, nullptr);
  return out;
}

}  // namespace

AccessibleView ReadAccessible(HWND hwnd) {
  AccessibleView view;
  IAccessible* accessible = nullptr;
  const HRESULT result =
      AccessibleObjectFromWindow(hwnd, static_cast<DWORD>(OBJID_CLIENT), __uuidof(IAccessible),
                                 reinterpret_cast<void**>(&accessible));
  if (FAILED(result) || accessible == nullptr) return view;
  view.found = true;
  VARIANT self;
  VariantInit(&self);
  self.vt = VT_I4;
  self.lVal = CHILDID_SELF;
  BSTR name = nullptr;
  if (accessible->get_accName(self, &name) == S_OK && name != nullptr) {
    view.name = Utf8(name, static_cast<int>(SysStringLen(name)));
  }
  SysFreeString(name);
  VARIANT role;
  VariantInit(&role);
  if (SUCCEEDED(accessible->get_accRole(self, &role)) && role.vt == VT_I4) {
    wchar_t text[128] = {};
    const UINT length = GetRoleTextW(static_cast<DWORD>(role.lVal), text, 128);
    view.role_text = Utf8(text, static_cast<int>(length));
  }
  VariantClear(&role);
  accessible->Release();
  return view;
}

}  // namespace ketra::probe
