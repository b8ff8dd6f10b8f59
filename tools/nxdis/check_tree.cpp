namespace nxtext {}
