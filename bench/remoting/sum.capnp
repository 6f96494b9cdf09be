@0xd8a5b0c1f2e34567;

interface Summer {
    sum @0 (a :Int32, b :Int32) -> (sum :Int32);
}
