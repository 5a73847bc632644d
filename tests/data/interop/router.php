<?php
// The router of `php -S 127.0.0.1:PORT router.php`: GET /<name>.wsdl serves a WSDL document of
// this folder with its address pointing back at this server; POST /<name> runs SoapServer in
// WSDL mode on that document. Anything else is a 404.
require __DIR__ . '/InteropService.php';

ini_set('soap.wsdl_cache_enabled', '0');

$services = array(
    'rpc-encoded-soap11' => 'RpcService',
    'rpc-encoded-soap12' => 'RpcService',
    'document-literal-soap11' => 'DocumentService',
    'document-literal-soap12' => 'DocumentService',
);

$path = parse_url($_SERVER['REQUEST_URI'], PHP_URL_PATH);
$name = basename($path, '.wsdl');
if (!isset($services[$name]) || $path !== '/' . $name . (substr($path, -5) === '.wsdl' ? '.wsdl' : '')) {
    http_response_code(404);
    header('Content-Type: text/plain');
    echo "No service at $path\n";
    return true;
}
$wsdl = __DIR__ . '/' . $name . '.wsdl';

if ($_SERVER['REQUEST_METHOD'] === 'GET') {
    header('Content-Type: text/xml; charset=utf-8');
    echo str_replace('{base}', 'http://' . $_SERVER['HTTP_HOST'], file_get_contents($wsdl));
    return true;
}

$version = strpos($name, 'soap12') !== false ? SOAP_1_2 : SOAP_1_1;
$server = new SoapServer($wsdl, array('soap_version' => $version, 'cache_wsdl' => WSDL_CACHE_NONE));
$server->setClass($services[$name]);
$server->handle();
return true;
