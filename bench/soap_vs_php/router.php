<?php
// The canned-reply server of the side-by-side benchmark, run as
//   php -S 127.0.0.1:PORT router.php   (from the folder that holds the replies)
// Every POST to /STYLE-COUNT is answered with the file reply-STYLE-COUNT.xml of the current
// folder, whatever the request held; anything else is a 404.
$name = basename(parse_url($_SERVER['REQUEST_URI'], PHP_URL_PATH));
$file = getcwd() . '/reply-' . $name . '.xml';
if ($_SERVER['REQUEST_METHOD'] !== 'POST' || !preg_match('/^(encoded|literal)-[0-9]+$/', $name)
    || !is_file($file)) {
    http_response_code(404);
    header('Content-Type: text/plain');
    echo "No reply for $name\n";
    return true;
}
file_get_contents('php://input');
header('Content-Type: text/xml; charset=utf-8');
header('Content-Length: ' . filesize($file));
readfile($file);
return true;
