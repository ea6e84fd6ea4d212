#pragma once

// The provider's fixed addresses and the identity of the stored account password.
inline constexpr char kVXApiURL[] = "https://api.voxaria.net/RPC2";
inline constexpr char kVXTokenURL[] = "https://api.voxaria.net/v1/authorization/token";
inline constexpr char kVXSipDomain[] = "sip.voxaria.net";
inline constexpr char kVXHelpURL[] = "https://www.voxaria.net";

// Environment overrides of the endpoints, for tests and demos against a local simulator.
inline constexpr char kVXApiURLVariable[] = "FAXOLINO_API_URL";
inline constexpr char kVXTokenURLVariable[] = "FAXOLINO_TOKEN_URL";
// A PEM file of further certificate authorities to trust.
inline constexpr char kVXCAFileVariable[] = "FAXOLINO_CA_FILE";
