// Sorts and filters the table of an index. SPDX-License-Identifier: BSD-2-Clause-Patent
