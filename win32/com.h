#pragma once

#include "win32/owner.h"

#include <objbase.h>
#include <shlobj.h>

namespace win32 {

template <class Interface>
struct ComTraits : NullableTraits<Interface*> {
    static void release(Interface* value) { value->Release(); }
};

/// One reference to an object.
template <class Interface>
using ComPointer = Owner<ComTraits<Interface>>;

/// \brief Makes a failure of a success that gave no object away, and takes nothing from a failure.
template <class Interface>
HRESULT checked(HRESULT result, ComPointer<Interface>& given) {
    if (FAILED(result))
        static_cast<void>(given.detach());
    else if (!given)
        return E_POINTER;
    return result;
}

/// \brief Another interface of an object; empty when there is no object, or it does not have the interface.
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

/// The shell's name of a folder, as its functions and objects give it away.
using ItemList = Owner<ItemListTraits>;

} // namespace win32
