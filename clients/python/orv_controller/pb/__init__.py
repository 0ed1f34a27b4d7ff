"""Generated from OrvSdkRpcProtos/orvsdk.proto by regenerate.sh."""
