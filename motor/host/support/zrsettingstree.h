// The settings as a document.
#pragma once

#include "host/support/zrsettingnode.h"
#include "host/tools/xmldocument.h"

// Replaces the content of `tree` by the table `root`: tables as elements, scalars as texts, each
// entry of an array as one more element of the array's name (an entry that is an array itself has
// its entries as children of that name). Left out: the password of the mail server.
//
// The elements made from [[driver]] and from the tables in them have the value `__line`, the
// decimal number of the line that they begin in; a driver without `id` has its name there.
void MakeSettingsTree(const ZRSettingNode& root, XmlDocument& tree);
