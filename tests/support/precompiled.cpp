// SPDX-License-Identifier: MIT
// Nothing but the precompiled headers of the tests that compute: a target needs a source.
