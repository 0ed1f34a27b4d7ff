"""Generated from OrvSdkRpcProtos by regenerate.sh."""
