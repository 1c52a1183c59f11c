// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once
// In place of the header of this name for Microsoft's compiler, whose types clash with those of Wine's C headers.
// What is compiled here needs none of its definitions.
#include <QtCore/qglobal.h>

struct IDWriteFontFace; // named by a private header that declares it only with DirectWrite

// What Wine's wincrypt.h lacks (learn.microsoft.com/windows/win32/api/wincrypt).
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
