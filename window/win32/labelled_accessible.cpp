#include "window/win32/labelled_accessible.h"

#include <oleacc.h>

#include <atomic>
#include <utility>

namespace ketra::window::win32 {
namespace {

bool IsSelf(const VARIANT& child) { return child.vt == VT_I4 && child.lVal == CHILDID_SELF; }

// The standard object with another name. COM object, owned by its references; the standard
// object it wraps is held for its life. A COM object deletes itself in Release, never through
// an interface pointer, so the interfaces have no virtual destructor.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class LabelledObject final : public IAccessible {
 public:
  LabelledObject(IAccessible* standard, std::wstring name)
      : standard_(standard), name_(std::move(name)) {}
  LabelledObject(const LabelledObject&) = delete;
  LabelledObject& operator=(const LabelledObject&) = delete;

  // IUnknown. The window and the children (IOleWindow, IEnumVARIANT) are the standard object's.
  // Not its IServiceProvider: that marks oleacc's own proxy, which UI Automation may replace by
  // its own proxy for the class, and that would name the control by z-order again.
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** out) override {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (IsEqualIID(riid, __uuidof(IUnknown)) || IsEqualIID(riid, __uuidof(IDispatch)) ||
        IsEqualIID(riid, __uuidof(IAccessible))) {
      *out = static_cast<IAccessible*>(this);
      AddRef();
      return S_OK;
    }
    if (IsEqualIID(riid, __uuidof(IOleWindow)) || IsEqualIID(riid, __uuidof(IEnumVARIANT))) {
      return standard_->QueryInterface(riid, out);
    }
    return E_NOINTERFACE;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --references_;
    if (left == 0) delete this;
    return left;
  }

  // IDispatch.
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override {
    return standard_->GetTypeInfoCount(count);
  }
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID lcid, ITypeInfo** info) override {
    return standard_->GetTypeInfo(index, lcid, info);
  }
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID lcid,
                                          DISPID* ids) override {
    return standard_->GetIDsOfNames(riid, names, count, lcid, ids);
  }
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID riid, LCID lcid, WORD flags,
                                   DISPPARAMS* params, VARIANT* result, EXCEPINFO* exception,
                                   UINT* argument) override {
    return standard_->Invoke(id, riid, lcid, flags, params, result, exception, argument);
  }

  // IAccessible: the name is ours, the rest the standard object's.
  HRESULT STDMETHODCALLTYPE get_accName(VARIANT child, BSTR* name) override {
    if (!IsSelf(child)) return standard_->get_accName(child, name);
    if (name == nullptr) return E_POINTER;
    *name = SysAllocString(name_.c_str());
    return *name != nullptr ? S_OK : E_OUTOFMEMORY;
  }
  HRESULT STDMETHODCALLTYPE get_accParent(IDispatch** parent) override {
    return standard_->get_accParent(parent);
  }
  HRESULT STDMETHODCALLTYPE get_accChildCount(LONG* count) override {
    return standard_->get_accChildCount(count);
  }
  HRESULT STDMETHODCALLTYPE get_accChild(VARIANT child, IDispatch** out) override {
    return standard_->get_accChild(child, out);
  }
  HRESULT STDMETHODCALLTYPE get_accValue(VARIANT child, BSTR* value) override {
    return standard_->get_accValue(child, value);
  }
  HRESULT STDMETHODCALLTYPE get_accDescription(VARIANT child, BSTR* text) override {
    return standard_->get_accDescription(child, text);
  }
  HRESULT STDMETHODCALLTYPE get_accRole(VARIANT child, VARIANT* role) override {
    return standard_->get_accRole(child, role);
  }
  HRESULT STDMETHODCALLTYPE get_accState(VARIANT child, VARIANT* state) override {
    return standard_->get_accState(child, state);
  }
  HRESULT STDMETHODCALLTYPE get_accHelp(VARIANT child, BSTR* help) override {
    return standard_->get_accHelp(child, help);
  }
  HRESULT STDMETHODCALLTYPE get_accHelpTopic(BSTR* file, VARIANT child, LONG* topic) override {
    return standard_->get_accHelpTopic(file, child, topic);
  }
  HRESULT STDMETHODCALLTYPE get_accKeyboardShortcut(VARIANT child, BSTR* keys) override {
    return standard_->get_accKeyboardShortcut(child, keys);
  }
  HRESULT STDMETHODCALLTYPE get_accFocus(VARIANT* focus) override {
    return standard_->get_accFocus(focus);
  }
  HRESULT STDMETHODCALLTYPE get_accSelection(VARIANT* selection) override {
    return standard_->get_accSelection(selection);
  }
  HRESULT STDMETHODCALLTYPE get_accDefaultAction(VARIANT child, BSTR* action) override {
    return standard_->get_accDefaultAction(child, action);
  }
  HRESULT STDMETHODCALLTYPE accSelect(LONG flags, VARIANT child) override {
    return standard_->accSelect(flags, child);
  }
  HRESULT STDMETHODCALLTYPE accLocation(LONG* left, LONG* top, LONG* width, LONG* height,
                                        VARIANT child) override {
    return standard_->accLocation(left, top, width, height, child);
  }
  HRESULT STDMETHODCALLTYPE accNavigate(LONG direction, VARIANT start, VARIANT* end) override {
    return standard_->accNavigate(direction, start, end);
  }
  HRESULT STDMETHODCALLTYPE accHitTest(LONG x, LONG y, VARIANT* child) override {
    return standard_->accHitTest(x, y, child);
  }
  HRESULT STDMETHODCALLTYPE accDoDefaultAction(VARIANT child) override {
    return standard_->accDoDefaultAction(child);
  }
  HRESULT STDMETHODCALLTYPE put_accName(VARIANT child, BSTR name) override {
    return standard_->put_accName(child, name);
  }
  HRESULT STDMETHODCALLTYPE put_accValue(VARIANT child, BSTR value) override {
    return standard_->put_accValue(child, value);
  }

 private:
  ~LabelledObject() { standard_->Release(); }

  IAccessible* standard_;
  const std::wstring name_;
  std::atomic<ULONG> references_{1};
};
#pragma GCC diagnostic pop

}  // namespace

LRESULT AnswerLabelledObject(HWND hwnd, WPARAM wparam, LPARAM lparam, const std::wstring& name) {
  if (static_cast<DWORD>(lparam) != static_cast<DWORD>(OBJID_CLIENT)) return 0;
  // __uuidof, not IID_IAccessible: mingw's oleacc import library has that name for an import
  // thunk, not for the interface's identifier.
  IAccessible* standard = nullptr;
  if (FAILED(CreateStdAccessibleObject(hwnd, OBJID_CLIENT, __uuidof(IAccessible),
                                       reinterpret_cast<void**>(&standard))) ||
      standard == nullptr) {
    return 0;
  }
  auto* labelled = new LabelledObject(standard, name);
  // LresultFromObject takes its own reference for the caller.
  const LRESULT answer = LresultFromObject(__uuidof(IAccessible), wparam, labelled);
  labelled->Release();
  return answer;
}

}  // namespace ketra::window::win32
