# SPDX-License-Identifier: GPL-2.0-or-later
# The front-end interface comes with the cross build's libobs.
include(CMakeFindDependencyMacro)
find_dependency(libobs)
