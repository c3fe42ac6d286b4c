/// \file DS_BlockDepthPrivate.h
/// How deep in braces a block of texts is (DS_Stream::parseBlock).
#pragma once

/// The depth after a token, from that before it; below 1 when the token closes the block.
int DSblockDepth(const char *token, int depth);
