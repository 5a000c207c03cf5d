#pragma once

#include "win32/owner.h"

#include <objbase.h>
#include <shlobj.h>

namespace win32 {

template <class Interface>
struct ComTraits : NullableTraits<Interface*> {
    static void release(Interface* value) { value->Release(); }
};

/// Owns one reference to a COM object. Released with IUnknown::Release.
template <class Interface>
using ComPointer = Owner<ComTraits<Interface>>;

/// \brief Turns a success without an object into E_POINTER. On failure, ignores whatever the callee left in
/// the out pointer.
template <class Interface>
HRESULT checked(HRESULT result, ComPointer<Interface>& given) {
    if (FAILED(result))
        static_cast<void>(given.detach());
    else if (!given)
        return E_POINTER;
    return result;
}

/// \brief Returns another interface of an object; empty if there is no object or QueryInterface fails.
template <class Interface, class From>
ComPointer<Interface> queryInterface(const ComPointer<From>& from) {
    ComPointer<Interface> found;
    if (from)
        checked(from->QueryInterface(IID_PPV_ARGS(found.receive())), found);
    return found;
}

struct ItemListTraits : NullableTraits<PIDLIST_ABSOLUTE> {
    static void release(PIDLIST_ABSOLUTE value) { CoTaskMemFree(value); }
};

/// Owns an absolute item ID list of the shell. Released with CoTaskMemFree.
using ItemList = Owner<ItemListTraits>;

} // namespace win32
