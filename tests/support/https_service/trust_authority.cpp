// Adds a certificate (DER) to the current user's trusted authorities. For throwaway prefixes only.
#include <windows.h>

#include <wincrypt.h>

#include <cstdio>

#include "base/file.h"
#include "base/text.h"

int main(int count, char** arguments) {
    using namespace pixelforge;
    const auto path = Widen(count == 2 ? arguments[1] : "", TextEncoding::AnsiCodePage);
    std::uint32_t size = 0;
    const HeapBytes bytes = path ? ReadWholeFile(path->c_str(), &size) : nullptr;
    const HCERTSTORE store =
        CertOpenStore(CERT_STORE_PROV_SYSTEM_W, 0, 0, CERT_SYSTEM_STORE_CURRENT_USER, L"Root");
    // Keeps an authority that is already trusted: other programs may be reading the store.
    const bool trusted = bytes && store &&
                         (CertAddEncodedCertificateToStore(store, X509_ASN_ENCODING, bytes.get(), size,
                                                           CERT_STORE_ADD_NEW, nullptr) ||
                          GetLastError() == static_cast<DWORD>(CRYPT_E_EXISTS));
    if (store) {
        CertCloseStore(store, 0);
    }
    if (!trusted) {
        std::fputs("usage: trust_authority AUTHORITY.der\n", stderr);
    }
    return trusted ? 0 : 1;
}
