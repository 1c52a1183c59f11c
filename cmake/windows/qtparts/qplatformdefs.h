// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once
// Replaces Qt's header for Microsoft's compiler, whose types conflict with those of Wine's C headers. The files that
// are compiled here do not need its definitions.
#include <QtCore/qglobal.h>

struct IDWriteFontFace; // used in a private header that declares it only with DirectWrite

// Missing in Wine's wincrypt.h (learn.microsoft.com/windows/win32/api/wincrypt).
#define CERT_FIND_HAS_PRIVATE_KEY (21 << 16)
#define CNG_RSA_PRIVATE_KEY_BLOB (reinterpret_cast<const char *>(83))
#define CRYPT_PRIVATE_KEY_INFO CERT_PRIVATE_KEY_INFO

struct CERT_CHAIN_FIND_BY_ISSUER_PARA
{
    unsigned long cbSize;
    const char *pszUsageIdentifier;
    unsigned long dwKeySpec;
    unsigned long dwAcquirePrivateKeyFlags;
    unsigned long cIssuer;
    void *rgIssuer;
    void *pfnFindCallback;
    void *pvFindArg;
};
